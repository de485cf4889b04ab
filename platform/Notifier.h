#pragma once

#include <cstdint>
#include <string>

#include "platform/GrowlApplicationBridge.h"

namespace quillo {

// The kinds of notification, by the number that selects title and name.
enum NotificationCode : std::int32_t {
  notificationFound = 1,
  notificationQuarantined = 2,
  notificationRemoved = 3,
  notificationUpdateSuccessful = 4,
  notificationAlreadyUpToDate = 5,
  notificationError = 6,
  // Shown as an error without its urgency.
  notificationHint = 7,
};

// The topics of the notifications that are withdrawn again; each find has one of its own besides.
inline constexpr const char* engineTopic = "engine";
inline constexpr const char* helperTopic = "helper";
inline constexpr const char* definitionsTopic = "definitions";
inline constexpr const char* updateTopic = "update";
inline constexpr const char* recheckTopic = "recheck";
inline constexpr const char* roomTopic = "room";

// Notifies the user by code, under the program's own titles and names. Any thread.
class Notifier {
 public:
  virtual ~Notifier() = default;
  // Returns true when the notification was posted: the desktop is not too old and the service runs.
  // `details` is for a service that shows them.
  virtual bool displayGrowlDialogWithTitleAndDescription(
      std::int32_t code, const std::string& description,
      const NotificationDetails& details = {}) = 0;
  // Withdraws what was posted of the topic.
  virtual void withdraw(const std::string& topic) = 0;
};

}  // namespace quillo
