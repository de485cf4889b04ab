#pragma once

#include <functional>

namespace quillo {

class Application;
class ApplicationLauncher;
class Clock;
class DistributedNotificationCenter;

// The link to the main application of the product, which owns the settings window. Main thread.
class MainApplication {
 public:
  MainApplication(Application& application, ApplicationLauncher& launcher, Clock& clock,
                  DistributedNotificationCenter& center);

  // Whether the desktop accepted to launch it.
  bool openApp();
  // Waits, with the desktop alive, until the desktop has started it or could not; at most about two
  // seconds, in which it is tried in every way.
  void awaitLaunch();
  // Launches it, waits without a limit until it is the active one, and asks it for its preferences.
  // Beeps when it cannot be launched.
  void openPrefs();

 private:
  Application& application_;
  ApplicationLauncher& launcher_;
  Clock& clock_;
  DistributedNotificationCenter& center_;
};

}  // namespace quillo
