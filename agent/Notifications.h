#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "platform/Notifier.h"
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
class Notifications final : public Notifier {
 public:
  // The first version of the desktop that has notifications.
  static constexpr int firstVersionWithNotifications = 0x1040;

  Notifications(GrowlApplicationBridge& growl, LocalizedStrings& strings);

  // Looks the names up. Main thread.
  void loadNames();
  // Registers with the service if the desktop is new enough to have one. Main thread.
  void registerWith(Application& application);
  GrowlRegistration registrationDictionaryForGrowl() const;
  // Of the codes, those of infected files make a find of the notification, whatever its details
  // say.
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details = {}) override;
  void withdraw(const std::string& topic) override { growl_.withdraw(topic); }
  // Hands the last ones to the service before the process ends, so that the user sees them. Main
  // thread.
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
