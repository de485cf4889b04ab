#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/TypedPreferences.h"
#include "posix/Snapshot.h"

namespace quillo {

class ClamdLink;
class Folders;
class SystemLog;

// What the preferences say and what follows from it: the engine's programs, the scratch folders,
// and what is done with infected files. Read anew at every start of watching. Main thread, but for
// the three values that other threads ask for.
class Preferences {
 public:
  Preferences(PreferenceStore& quilloPrefs, Folders& folders, SystemLog& log, ClamdLink& engine);

  // Reads everything, makes sure that the daemon runs and makes the scratch folders. False when no
  // engine is usable, with the reason in the log.
  bool readPrefs();
  // Forgets the derived values.
  void drop();

  std::optional<std::string> clamPATH() const { return *clamPATH_.load(); }
  std::optional<std::string> freshclamPATH() const { return *freshclamPATH_.load(); }
  std::optional<std::string> freshclamLogLocation() const { return *freshclamLogLocation_.load(); }

  // Members are named for what they hold; see the README's table of preferences.
  std::optional<std::string> clamScanPATH;
  std::string quarantineLocation;
  std::string quarantineOrTrash;
  std::string scanMboxOrNot;
  std::string excludePattern;
  std::string includePattern;
  std::optional<std::string> maxRatio;
  std::optional<std::string> theTempDirToWatch;
  std::optional<std::string> theThrobberTempDir;
  bool runningOnServer = false;
  bool usingClamDemon = false;
  bool useMultiscan = false;
  bool exclude = false;
  bool includeOnly = false;
  bool weLaunchedClamd = false;
  // While it loads its definitions, the daemon cannot be told to quit yet.
  bool launchingClamd = false;
  bool logProgress = false;
  // Only ever switched on by a reading, until the process ends.
  bool quarantineInfected = false;
  bool deleteInfected = false;
  bool updateDefsAtLaunch = false;

  bool needsExit1FreshclamFlag() const { return *needsExit1FreshclamFlag_.load(); }
  void setNeedsExit1FreshclamFlag(bool needed) { needsExit1FreshclamFlag_.store(needed); }

 private:
  void readEnginePaths();
  bool daemonRuns();
  bool makeSureDaemonRuns();
  bool launchDaemon();
  void makeScratchFolders();
  void emptyThrobberFolder();
  void readScanSettings();
  void readInfectedFileSettings();
  void log(const std::string& message);

  PreferenceStore& quilloPrefs;
  Folders& folders_;
  SystemLog& log_;
  ClamdLink& engine_;
  const TypedPreferences typed_;
  // Own synchronisation: the update threads and the engine's recovery ask for these.
  Snapshot<std::optional<std::string>> clamPATH_;
  Snapshot<std::optional<std::string>> freshclamPATH_;
  Snapshot<std::optional<std::string>> freshclamLogLocation_;
  Snapshot<bool> needsExit1FreshclamFlag_;
};

}  // namespace quillo
