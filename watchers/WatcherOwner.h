#pragma once

// What the watchers need of whoever owns them.

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "posix/Mutex.h"

namespace quillo {

class Application;
class Authorization;
class BackgroundWork;
class Clock;
class Folders;
class LocalizedStrings;
class NameWatch;
class Notifier;
class SystemLog;
class ThreadStarter;
class TrashFolders;
class TypedPreferences;
struct FileFacts;

using WatchedFolderList = std::vector<std::string>;
using SubdirectoryFlags = std::map<std::string, bool>;

// Takes in the paths that a watcher found. Any thread.
class PathIntake {
 public:
  virtual ~PathIntake() = default;
  virtual void addStringToItemList(const std::string& path) = 0;
  // Takes all of them at once and empties the list.
  virtual void addToItemList(std::vector<std::string>& paths) = 0;
};

// The status menu.
class WatcherMenu {
 public:
  virtual ~WatcherMenu() = default;
  virtual Mutex& monitor() = 0;
  // Counts one more folder as being watched. To be called with monitor() held.
  virtual void setReady() = 0;
  // Starts watching anew, because a folder to watch cannot be listed. Main thread.
  virtual void folderMissingPanic() = 0;
};

// The folders to watch. Any thread.
class WatchedFolders {
 public:
  virtual ~WatchedFolders() = default;
  // Return the lists as they stand now; they change only as a whole.
  virtual std::shared_ptr<const WatchedFolderList> getWatchedFolderList() = 0;
  virtual std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() = 0;
};

// Returns the path as the list holds it: one that leads to a folder with a "/" at its end. Nothing
// when nothing is there, which is not watched. Any thread.
std::optional<std::string> watchedForm(std::string path);
// The same where it is known already what is there.
std::optional<std::string> watchedForm(std::string path, const std::optional<FileFacts>& facts);

// The agent. Any thread.
class WatcherOwner : public WatchedFolders {
 public:
  // Stops watching; what only the main thread may do is done there later.
  virtual void stopWatcherFromWatcher() = 0;
  // Asks the main thread to start watching and does not wait for it.
  virtual void startWatcherFromWatcher() = 0;
  // Shows that nothing is watched just now since the helper cannot run, or that it runs again.
  virtual void setHelperFails(bool fails) = 0;
  // Shows where its user finds out what can be done about that. Main thread.
  virtual void showWhatMends() = 0;
  // Shows which folders are watched, and how well. Main thread.
  virtual void showFolders() = 0;
  // Shows in how many of the watched places changes can be missed.
  virtual void setPlacesWithGaps(std::size_t count) = 0;
};

// The services that the watchers use. All of them outlive the watchers.
struct WatcherServices {
  Application& application;
  Authorization& authorization;
  BackgroundWork& backgroundWork;
  Clock& clock;
  Folders& folders;
  LocalizedStrings& localizedStrings;
  NameWatch& nameWatch;
  Notifier& notifier;
  const TypedPreferences& preferences;
  SystemLog& systemLog;
  ThreadStarter& threads;
  TrashFolders& trashFolders;
  PathIntake& theDispatcher;
  // Whether files that hold still wait for their verdict; not asked where there is none.
  std::function<bool()> filesWait = nullptr;
};

}  // namespace quillo
