#pragma once

#include <optional>
#include <string>

namespace quillo {

class SystemLog;
class TypedPreferences;

// What becomes of an infected file.
enum class InfectedFileAction { leaveInPlace, quarantine, moveToTrash };

// Returns "Q" for the quarantine, "T" for the Trash, else "".
std::string letterOf(InfectedFileAction action);

// What the preferences said when watching began, and what follows from it. It is replaced as a
// whole. A path is set where a preference names it.
struct WatchSettings {
  // The engine's folder and programs, and the log of definition updates.
  std::optional<std::string> clamPATH;
  std::optional<std::string> clamScanPATH;
  std::optional<std::string> freshclamPATH;
  std::optional<std::string> updateLog;
  bool runningOnServer = false;
  bool usingClamDemon = false;

  // What the user is shown of an infected file.
  InfectedFileAction quarantineOrTrash = InfectedFileAction::leaveInPlace;
  // Set only where infected files go to a quarantine; "" where no preference names its folder.
  std::optional<std::string> quarantineFolder;
  bool scanEmail = true;
  bool useMultiscan = false;
  bool logProgress = false;
  // A reading never switches patterns on.
  bool exclude = false;
  bool includeOnly = false;
  std::string excludePattern;
  std::string includePattern;
  std::optional<std::string> maxRatio;

  // A reading switches these on, never off again; of the first two, which are what the engine is
  // asked for, the one that is on switches the other off.
  bool quarantineInfected = false;
  bool deleteInfected = false;
  bool needsExit1FreshclamFlag = false;
  bool updateDefsAtLaunch = false;
};

// Returns `before` with the engine's paths as the preferences name them now. Any thread.
WatchSettings withEngine(WatchSettings before, const TypedPreferences& preferences);
// Returns `before` with how is scanned and updated, and says in the log what was found. Any thread.
WatchSettings withScanning(WatchSettings before, const TypedPreferences& preferences,
                           SystemLog& log);
// Returns what is left of `before` while nothing is watched.
WatchSettings withoutDerivedValues(WatchSettings before);

}  // namespace quillo
