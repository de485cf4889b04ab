#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/GrowlApplicationBridge.h"
#include "posix/Clock.h"
#include "posix/Mutex.h"
#include "watchers/CatchUp.h"
#include "watchers/PathFilter.h"

namespace quillo {

class ChildProcess;

// The pauses before a program that ended by itself is started again: none as a rule. Ten restarts
// within ten seconds mean that something is wrong which the next one will not mend: then the pause
// is a second, and doubles after every further short run, up to thirty seconds, until a run has
// lasted. Owned by one thread.
class RestartPauses {
 public:
  static constexpr std::size_t freeRestarts = 10;
  static constexpr Clock::Duration window = std::chrono::seconds(10);
  static constexpr Clock::Duration shortest = std::chrono::seconds(1);
  static constexpr Clock::Duration longest = std::chrono::seconds(30);

  // Returns the pause after a run that lasted from `began` to `ended`, two times of one Clock.
  Clock::Duration afterRun(Clock::Duration began, Clock::Duration ended);
  // Returns true when the program was started in vain too often and no run has lasted since.
  bool isPausing() const { return pause_ > Clock::Duration::zero(); }

 private:
  std::deque<Clock::Duration> restarts_;
  Clock::Duration pause_{0};
};

// Runs the helper tool "gfslogger", which prints one changed path a line, and hands on the paths
// that lie in watched folders. mainLoop() has a thread of its own while watching; there is at most
// one.
class FSEventWatcher {
 public:
  FSEventWatcher(WatcherOwner& owner, const WatcherServices& services);
  ~FSEventWatcher();

  // To be called by whoever is about to run mainLoop() on a new thread. Returns false when a loop
  // is there already (also one that is just ending), which then goes on watching. Any thread.
  bool claimMainLoop();
  // Takes the claim back when no thread could be had for it. Any thread.
  void abandonMainLoop();
  // Watches until stopWatching(). Starts the helper again whenever it ends by itself: at once, or
  // after a pause if it ends again and again, which the user is notified of once. Throws only what
  // is no PlatformException; nothing is watched then, and it may be called again.
  void mainLoop();
  // Runs the helper once, from its launch to its end. The watcher's thread.
  void startWatching();
  // Ends the helper, and with it the loop. Any thread.
  void stopWatching();
  // Looks no more for what changed while the helper did not watch. Any thread.
  void abortCatchUp() { catchUp_.abort(); }
  bool isWatching() const { return state_.isWatching; }
  // Returns true from the claim of a loop until watching is stopped or the claim taken back,
  // whether the loop watches by now or is about to. Any thread.
  bool isToWatch();

  // Judges every line of a chunk of the helper's output by the watched folders as they are now, and
  // hands on those that pass. A line cut by the chunk's end is judged as two; one that is no path
  // is kept as the helper's last words. Returns false after an empty chunk, the last one. The
  // watcher's thread.
  bool taskDataAvailable(std::string_view chunk);
  bool isTrashedFileAtPath(const std::string& path) const { return filter_.isTrashed(path); }

 private:
  // The variables that go by the names of operations, and those that belong to the loop.
  struct State {
    std::atomic<bool> isWatching{false};
    Mutex lock;
    std::shared_ptr<ChildProcess> scanCheckTask QUILLO_GUARDED_BY(lock);
    // A thread runs, or is about to run, mainLoop(); and it shall watch.
    bool loopClaimed QUILLO_GUARDED_BY(lock) = false;
    bool loopWanted QUILLO_GUARDED_BY(lock) = false;
  };

  void watch();
  void runUntilStopped();
  void pauseAfterRun(Clock::Duration began);
  void showThatHelperFails();
  // Until the helper reports a change.
  void showHelperProblem(const std::string& problem);
  void forgetMainLoop();
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
  CatchUp catchUp_;
  // Signalled when watching ends.
  Condition stopped_;
  // Used by the watcher's thread alone.
  PathFilter filter_;
  RestartPauses pauses_;
  std::string lastWords_;
  // Of the last run: it printed what only a helper prints that watches, and it ended for it missed
  // changes.
  bool hasReported_ = false;
  bool hasLostEvents_ = false;
  bool showsProblem_ = false;
};

}  // namespace quillo
