#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quillo {

// The names of the notifications that an application may post.
struct GrowlRegistration {
  std::vector<std::string> allNotifications;
  std::vector<std::string> defaultNotifications;
};

struct NotificationButton {
  std::string title;
  // Called on the main thread, at most once for each press and never after the notification was
  // withdrawn.
  std::function<void()> press;
  // It acts on the one thing that the notification is about, and so makes no sense beside a count
  // of many such things.
  bool isOfOneThing = false;
};

// What a service that can do so shows besides title and description. All of it is optional, and
// plain text without markup.
struct NotificationDetails {
  // In place of title and description.
  std::string summary;
  std::string body;
  // The first one is also what a click on the notification does.
  std::vector<NotificationButton> buttons;
  // The subject by which it can be withdrawn when that is over; "" is never withdrawn.
  std::string topic;
  // It reports malware: such a notification waits behind no other kind.
  bool isFind = false;
  // Whoever posts it ends soon, and it stays all the same.
  bool outlivesSender = false;
};

struct GrowlNotification {
  std::string title;
  std::string name;
  std::string description;
  int priority = 0;
  bool isSticky = false;
  NotificationDetails details = {};
};

// The desktop's notification service.
class GrowlApplicationBridge {
 public:
  virtual ~GrowlApplicationBridge() = default;
  // Makes the application known to the service. Main thread.
  virtual void setGrowlDelegate(const GrowlRegistration& registration) = 0;
  // Returns true when the service would show a notification now. Any thread; never waits for the
  // main thread.
  virtual bool isGrowlRunning() = 0;
  // Posts one notification; texts are plain, without markup. Any thread; never waits for the main
  // thread.
  virtual void notify(const GrowlNotification& notification) = 0;
  // Withdraws every notification of that topic, shown or not. Any thread; never waits for the main
  // thread.
  virtual void withdraw(const std::string& topic) = 0;
  // Waits, with the desktop alive, until the service has what was posted, for about a second at
  // most: to be called before the process ends. Main thread.
  virtual void handOver() = 0;
};

}  // namespace quillo
