#pragma once

#include <string>
#include <vector>

namespace quillo {

// The names of the notifications that an application may post.
struct GrowlRegistration {
  std::vector<std::string> allNotifications;
  std::vector<std::string> defaultNotifications;
};

struct GrowlNotification {
  std::string title;
  std::string name;
  std::string description;
  int priority = 0;
  bool isSticky = false;
  // Good to know, and nothing to be done about: not to be shown as if it were urgent.
  bool isHint = false;
};

// The desktop's notification service.
class GrowlApplicationBridge {
 public:
  virtual ~GrowlApplicationBridge() = default;
  // Makes the application known to the service. Main thread.
  virtual void setGrowlDelegate(const GrowlRegistration& registration) = 0;
  // Whether the service would show a notification now. Any thread; never waits for the main thread.
  virtual bool isGrowlRunning() = 0;
  // Hands one notification over to be shown; texts are plain, without markup. Any thread; never
  // waits for the main thread.
  virtual void notify(const GrowlNotification& notification) = 0;
  // Before the process ends: waits, with the desktop alive, until the service has what was posted,
  // for about a second at most. Main thread.
  virtual void handOver() = 0;
};

}  // namespace quillo
