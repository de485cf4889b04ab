#pragma once

#include <functional>

namespace quillo {

struct AgentParts;
struct EngineProblem;

// Begins and ends watching, as user, desktop and watcher ask for it. What they ask is done on the
// main thread, one at a time: a request that comes while another waits for the engine to load is
// held until that is done. docs/architecture.md draws the states and what leads from one to
// another.
class Watching {
 public:
  enum class State {
    stopped,   // not begun yet, stopped by the user, or no engine was usable
    starting,  // being set up: the engine may load for minutes
    watching,  // the watcher runs
    asleep,    // stopped for the machine's sleep; waking up starts it again
    quitting,  // stopped, and the process ends as soon as the daemon takes its QUIT
  };

  // Nearly every part begins or ends with watching, so it is given them all.
  explicit Watching(AgentParts& parts) : parts_(parts) {}

  // Returns the state. A quit that waits for a daemon to be launched shows once that has ended.
  // Main thread.
  State state() const;

  // Requests. A failure is logged, with a beep. Main thread.
  void startWatcherAndUpdate(bool update);
  void stopWatcher();
  void restartWatcher();
  void goingToSleep();
  void wakingUp();
  // Restarts once what asks for it has ended: a restart may take as long as the engine loads. Any
  // thread.
  void restartWatcherSoon();

  // Stops at once the watcher that calls it, and the rest soon on the main thread, unless watching
  // was begun anew by then. Any thread.
  void stopWatcherFromWatcher();
  // Starts soon, on the main thread. Any thread.
  void startWatcherFromWatcher();

  // The start at launch, which is part of that request. Main thread.
  void startAtLaunch();
  // Stops watching, stops the daemon if the last start launched it, says so to the other
  // applications and ends the process with status 0, without waiting for anything that runs (its
  // scanners are ended) but a daemon of its own that is being launched, for the first time or
  // again: then it may return, and the end comes when the daemon takes its QUIT, or is given up
  // after a minute. Main thread.
  void quit();

 private:
  void begin(bool update);
  void setUp(bool update);
  void startWatcherThread();
  void reportNoEngine(const EngineProblem& problem);
  void end();
  void endIfWatching();
  void finishEnd();
  void finishEndUnlessBegun();
  void quitOnceLaunched();
  void quitNow();
  void log(const char* line);

  AgentParts& parts_;
  bool startAfterSleep = false;
  bool quitWaits_ = false;
};

}  // namespace quillo
