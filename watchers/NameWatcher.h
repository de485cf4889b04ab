#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/NameWatch.h"
#include "posix/Mutex.h"
#include "posix/Snapshot.h"
#include "watchers/PathFilter.h"

namespace quillo {

// Has names watched where the helper tool misses some, and hands on the paths that lie in watched
// folders as FSEventWatcher does. Reports which places cannot be watched completely.
class NameWatcher final : private NameWatchObserver {
 public:
  NameWatcher(WatcherOwner& owner, const WatcherServices& services);

  // Watches the folders of the watch list as it is now, with the quarantine folder that the
  // preferences name now, until stop(). Main thread.
  void start();
  // Main thread.
  void stop();

 private:
  void namesAppeared(const std::vector<std::string>& paths) override;
  void placeHasGap(const std::string& place, Gap gap) override;

  // Constant after construction.
  WatcherOwner& owner_;
  const WatcherServices& services_;
  // Own synchronisation.
  Snapshot<std::string> quarantineFolder_;
  // The name watch's thread.
  PathFilter filter_;

  Mutex mutex_;
  std::set<std::string> placesWithGaps_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace quillo
