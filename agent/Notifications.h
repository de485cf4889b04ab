#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "platform/GrowlApplicationBridge.h"
#include "posix/Snapshot.h"

namespace quillo {

class Application;
class LocalizedStrings;

// The names of the notifications, in the user's language.
struct NotificationNames {
  std::string growlFound;
  std::string growlRemoved;
  std::string growlQuarantined;
  std::string updateSuccessful;
  std::string alreadyUpToDate;
  std::string unknownError;
};

// Desktop notifications by code.
class Notifications {
 public:
  // The first version of the desktop that has notifications.
  static constexpr int firstVersionWithNotifications = 0x1040;

  Notifications(GrowlApplicationBridge& growl, LocalizedStrings& strings);

  // Looks the names up. Main thread.
  void loadNames();
  // Registers with the service if the desktop is new enough for one. Main thread.
  void registerWith(Application& application);
  GrowlRegistration registrationDictionaryForGrowl() const;
  // Whether the notification was posted: false when the desktop is too old or the service does not
  // run. `details` for a service that shows them; of the codes, only those of infected files tell
  // by themselves that they are finds. Any thread.
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details = {});
  // Takes back what was posted of the topic. Any thread.
  void withdraw(const std::string& topic) { growl_.withdraw(topic); }
  // Before the process ends, so that the user sees the last ones. Main thread.
  void handOver() { growl_.handOver(); }
  std::shared_ptr<const NotificationNames> names() const { return names_.load(); }

 private:
  GrowlApplicationBridge& growl_;
  LocalizedStrings& strings_;
  // Own synchronisation: workers post while the main thread starts up.
  Snapshot<NotificationNames> names_;
  std::atomic<int> MacOSVersion{0};
};

}  // namespace quillo
