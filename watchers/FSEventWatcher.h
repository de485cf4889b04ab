#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "posix/Condition.h"
#include "posix/Mutex.h"
#include "watchers/PathFilter.h"
#include "watchers/RestartPauses.h"

namespace quillo {

class ChildProcess;
class WatcherOwner;
struct WatcherServices;

// Runs the helper tool "gfslogger", which prints one changed path a line, and hands on the paths
// that lie in watched folders. mainLoop() has a thread of its own while watching; there is at most
// one.
class FSEventWatcher {
 public:
  FSEventWatcher(WatcherOwner& owner, const WatcherServices& services);
  ~FSEventWatcher();

  // To be called by whoever is about to run mainLoop() on a new thread: false when a loop is there
  // already (also one that is just ending), which then goes on watching. Any thread.
  bool claimMainLoop();
  // Takes the claim back when no thread could be had for it. Any thread.
  void abandonMainLoop();
  // Watches until stopWatching(). The helper is started again whenever it ends by itself: at once,
  // or after a pause if it ends again and again, which the user is told once. What it throws is no
  // PlatformException; nothing is watched then, and it may be called again.
  void mainLoop();
  // One run of the helper, from its launch to its end. The watcher's thread.
  void startWatching();
  // Ends the helper, and with it the loop. Any thread.
  void stopWatching();
  bool isWatching() const { return state_.isWatching; }

  // Judges every line of a chunk of the helper's output, and answers whether to go on reading: not
  // after an empty one. A line cut by the chunk's end is judged as two. What is no path is what the
  // helper has to say. The watcher's thread.
  bool taskDataAvailable(std::string_view chunk);
  bool isTrashedFileAtPath(const std::string& path) const { return filter_.isTrashed(path); }

 private:
  // The variables that go by the names of operations, and those that belong to the loop.
  struct State {
    std::atomic<bool> isWatching{false};
    Mutex lock;
    std::shared_ptr<ChildProcess> scanCheckTask QUILLO_GUARDED_BY(lock);
    // Whether a thread runs, or is about to run, mainLoop(), and whether it shall watch.
    bool loopClaimed QUILLO_GUARDED_BY(lock) = false;
    bool loopWanted QUILLO_GUARDED_BY(lock) = false;
  };

  void watch();
  void runUntilStopped();
  void pauseAfterRun(Clock::Duration began);
  void tellThatHelperFails();
  // Until it tells of a change.
  void tellOfHelper(const std::string& problem);
  void forgetMainLoop();
  void readQuarantineFolder();
  bool beginWatching();
  bool releaseMainLoop();
  void runHelper(const std::string& tool);
  void installHelper(const std::string& tool);
  void judgeLine(std::string_view line);

  // Constant after construction.
  WatcherOwner& owner_;
  const WatcherServices& services_;
  // Own synchronisation.
  State state_;
  // Signalled when watching ends.
  Condition stopped_;
  // Used by the watcher's thread alone.
  PathFilter filter_;
  RestartPauses pauses_;
  std::string lastWords_;
  bool toldOfHelper_ = false;
};

}  // namespace quillo
