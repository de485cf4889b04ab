#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/EngineProblem.h"
#include "posix/Snapshot.h"
#include "settings/WatchSettings.h"

namespace quillo {

class ClamdLink;
class DaemonStart;
class Folders;
class PreferenceStore;
class SystemLog;
class TypedPreferences;

// The agent's folders for what does not last, in the user's temporary folder. Main thread.
class ScratchFolders {
 public:
  ScratchFolders(Folders& folders, SystemLog& log) : folders_(folders), log_(log) {}

  // Makes the folders where they are missing, and empties the status menu's but for its subfolders,
  // unless somebody else made it, which the log then says. A failure is ignored.
  void make();
  // Forgets the paths; the folders stay.
  void forget();

  std::optional<std::string> theTempDirToWatch;
  std::optional<std::string> theThrobberTempDir;

 private:
  void emptyThrobberFolder();

  Folders& folders_;
  SystemLog& log_;
};

// What every start of watching begins with, and the settings that came of it. Main thread, but for
// settings().
class Preferences {
 public:
  Preferences(PreferenceStore& store, const TypedPreferences& typed, SystemLog& log,
              ClamdLink& engine, DaemonStart& daemon, ScratchFolders& scratchFolders);

  // Reads everything, makes sure that the daemon runs and makes the scratch folders, in the fixed
  // order. Returns false when no engine is usable, with the reason in the log.
  bool readPrefs();
  // Returns why no engine was usable.
  const EngineProblem& engineProblem() const { return engineProblem_; }
  // Returns what is wrong where no engine is named.
  EngineProblem unnamedEngine();
  // Forgets the derived values.
  void drop();
  void setNeedsExit1FreshclamFlag(bool needed);

  // Returns the settings as they were read last. Any thread.
  std::shared_ptr<const WatchSettings> settings() const { return settings_.load(); }

 private:
  void readEngine();

  PreferenceStore& quilloPrefs;
  const TypedPreferences& typed_;
  SystemLog& log_;
  ClamdLink& engine_;
  DaemonStart& daemon_;
  ScratchFolders& scratchFolders_;
  EngineProblem engineProblem_;
  // Own synchronisation: the workers ask for them.
  Snapshot<WatchSettings> settings_;
};

}  // namespace quillo
