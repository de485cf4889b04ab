#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quillo {

class Application;
class ApplicationLauncher;
class Clock;
class DistributedNotificationCenter;
class ThreadStarter;

// The link to the main application of the product, which owns the settings window. Lives as long as
// the process. Main thread.
class MainApplication {
 public:
  MainApplication(Application& application, ApplicationLauncher& launcher, Clock& clock,
                  DistributedNotificationCenter& center, ThreadStarter& threads);

  // Launches it. Returns false, with a beep, when the desktop does not accept that.
  bool openApp();
  // Has it show one of its pages, and returns at once. Returns false where it is not installed.
  bool openPage(const std::string& page);
  // Waits, with the desktop alive, until the desktop has started it or could not; at most about two
  // seconds, in which it is tried in every way. Beeps when it could not.
  void awaitLaunch();
  // Launches it and returns. As soon as it is the active one, however long that takes, it is asked
  // for its preferences, and `done` is called; nothing else waits for that. A second request
  // meanwhile launches it again and joins the wait. Beeps when it cannot be launched, and calls
  // `done` then, too. Throws std::system_error when the system has no thread that could wait.
  void openPrefs(std::function<void()> done);

 private:
  // Ends the wait if there is nothing left to wait for.
  bool settle();
  void waitForIt();

  Application& application_;
  ApplicationLauncher& launcher_;
  Clock& clock_;
  DistributedNotificationCenter& center_;
  ThreadStarter& threads_;
  // Of every request that waits.
  std::vector<std::function<void()>> done_;
  // True until the wait has ended; null when nobody waits.
  std::shared_ptr<std::atomic<bool>> waits_;
};

}  // namespace quillo
