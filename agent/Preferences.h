#pragma once

#include <functional>
#include <optional>
#include <string>

#include "engine/EngineProblem.h"
#include "posix/SharedText.h"
#include "posix/Snapshot.h"

namespace quillo {

class ClamdLink;
class Folders;
class PreferenceStore;
class SystemLog;
class TypedPreferences;

// What the preferences say and what follows from it: the engine's programs, the scratch folders,
// and what is done with infected files. Read anew at every start of watching. Main thread, but for
// what is said to be any thread's.
class Preferences {
 public:
  Preferences(PreferenceStore& quilloPrefs, const TypedPreferences& typed, Folders& folders,
              SystemLog& log, ClamdLink& engine);

  // Reads everything, makes sure that the daemon runs and makes the scratch folders. False when no
  // engine is usable, with the reason in the log.
  bool readPrefs();
  // Why no engine was usable.
  const EngineProblem& engineProblem() const { return engineProblem_; }
  // What is wrong where no engine is named.
  EngineProblem unnamedEngine();
  // Forgets the derived values.
  void drop();

  // Any thread.
  std::optional<std::string> clamPATH() const { return *clamPATH_.load(); }
  std::optional<std::string> freshclamPATH() const { return *freshclamPATH_.load(); }
  std::optional<std::string> freshclamLogLocation() const { return *freshclamLogLocation_.load(); }

  // Members are named for what they hold; see the README's table of preferences.
  std::optional<std::string> clamScanPATH;
  // Any thread reads these four.
  SharedText quarantineLocation;
  SharedText quarantineOrTrash;
  SharedText excludePattern;
  SharedText includePattern;
  std::string scanMboxOrNot;
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
  // A reading switches these on, never off again; of the first two, the one that is on switches the
  // other off.
  bool quarantineInfected = false;
  bool deleteInfected = false;
  bool updateDefsAtLaunch = false;

  // Any thread.
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
  EngineProblem engineProblem_;
  const TypedPreferences& typed_;
  // Own synchronisation: the update threads ask for these.
  Snapshot<std::optional<std::string>> clamPATH_;
  Snapshot<std::optional<std::string>> freshclamPATH_;
  Snapshot<std::optional<std::string>> freshclamLogLocation_;
  Snapshot<bool> needsExit1FreshclamFlag_;
};

}  // namespace quillo
