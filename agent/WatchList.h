#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "posix/BoundedLook.h"
#include "posix/Snapshot.h"

namespace quillo {

class Dispatcher;
class MountNotifications;
class PreferenceStore;
class SystemLog;
class Throbber;
class TypedPreferences;

struct WatchListServices {
  MountNotifications& mountNotifications;
  PreferenceStore& preferenceStore;
  const TypedPreferences& preferences;
  SystemLog& systemLog;
};

// The folders that the user chose to have watched, and the volumes that appear meanwhile. Changed
// on the main thread alone; the getters may be called from any thread.
class WatchList {
 public:
  WatchList(const WatchListServices& services, Throbber& mainMenu, Dispatcher& theDispatcher);

  // Builds list and menu anew from the preferences and looks out for volumes.
  void populateMenu();
  // Adds the path if something is there, with a "/" at its end if it is a folder.
  void addToWatchListWithSubdirs(std::string path, bool withSubdirs);
  // Returns whether the folder is neither the quarantine folder nor watched already.
  bool okToAddDir(const std::string& path,
                  const std::optional<std::string>& quarantineFolder) const;
  // Looks out no more, and empties list and menu.
  void stop();
  void newVolumeAppeared(const std::string& devicePath);
  // Returns what is to be watched, in words for the log.
  std::string inWords() const;

  // Returns the folders that were to be watched and are not there now, or do not answer in time, or
  // were so when watching began. Any thread.
  std::vector<std::string> missingFolders() const;

  std::shared_ptr<const std::vector<std::string>> getWatchedFolderList() const {
    return watchedFolderList.load();
  }
  std::shared_ptr<const std::map<std::string, bool>> getCheckSubDirs() const {
    return checkSubDirs.load();
  }
  std::int32_t getMaxRecursionDepth() const { return maxRecursionDepth; }

 private:
  // At all folders together while the list is built.
  static constexpr std::chrono::milliseconds longestLook{2000};

  std::optional<FileFacts> lookAt(const std::string& path);

  const WatchListServices services_;
  Throbber& mainMenu;
  Dispatcher& theDispatcher;
  const std::int32_t maxRecursionDepth = 0;
  // The main thread's own: what is left of it.
  std::chrono::milliseconds patience_ = longestLook;
  // Own synchronisation: the watchers read them.
  mutable BoundedLooks looks_;
  Snapshot<std::vector<std::string>> watchedFolderList;
  Snapshot<std::map<std::string, bool>> checkSubDirs;
  // Those that were not there when the list was built, which are not watched.
  Snapshot<std::vector<std::string>> missing_;
};

}  // namespace quillo
