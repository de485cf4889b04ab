#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace quillo {

using WatchedFolderList = std::vector<std::string>;
using SubdirectoryFlags = std::map<std::string, bool>;

// Where a watcher puts the paths that it found. Any thread.
class PathIntake {
 public:
  virtual ~PathIntake() = default;
  virtual void addStringToItemList(const std::string& path) = 0;
  // All of them at once; the list is emptied.
  virtual void addToItemList(std::vector<std::string>& paths) = 0;
};

// What a watcher asks of its owner. Every operation may be called from the watcher's thread.
class WatcherOwner {
 public:
  virtual ~WatcherOwner() = default;
  // The lists as they stand now; they change only as a whole.
  virtual std::shared_ptr<const WatchedFolderList> getWatchedFolderList() = 0;
  virtual std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() = 0;
  virtual PathIntake& theDispatcher() = 0;
  // Stops watching; what only the main thread may do is done there later.
  virtual void stopWatcherFromWatcher() = 0;
  // Asks the main thread to start watching and does not wait for it.
  virtual void startWatcherFromWatcher() = 0;
  // Whether the notification was posted.
  virtual bool displayError(const std::string& description) = 0;
  // The same of the helper, and when it is over.
  virtual bool displayHelperError(const std::string& description) = 0;
  virtual void withdrawHelperErrors() = 0;
  // Whether nothing is being watched just now since the helper cannot run.
  virtual void setHelperFails(bool fails) = 0;
  // In how many of the watched places changes can be missed.
  virtual void setPlacesWithGaps(std::size_t count) = 0;
};

}  // namespace quillo
