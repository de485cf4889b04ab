#include "agent/Notifications.h"

#include "platform/Application.h"
#include "platform/LocalizedStrings.h"

namespace quillo {
namespace {

constexpr const char* ownTitle = "Vantrel Quillo";
constexpr const char* errorName = "Error";

}  // namespace

Notifications::Notifications(GrowlApplicationBridge& growl, LocalizedStrings& strings)
    : growl_(growl), strings_(strings) {}

void Notifications::loadNames() {
  const auto text = [this](const char* key) { return strings_.stringForKey(key, ""); };
  NotificationNames names;
  names.growlFound = text("FOUND");
  names.growlRemoved = text("REMOVED");
  names.growlQuarantined = text("QUARANTINED");
  names.updateSuccessful = text("SUCCESSFUL");
  names.alreadyUpToDate = text("ALREADY_UP_TO_DATE");
  names.unknownError = text("UNKNOWN_ERROR");
  names_.store(std::move(names));
}

void Notifications::registerWith(Application& application) {
  const std::optional<int> version = application.systemVersion();
  MacOSVersion = version.value_or(0);
  if (MacOSVersion >= firstVersionWithNotifications) {
    growl_.setGrowlDelegate(registrationDictionaryForGrowl());
  }
}

GrowlRegistration Notifications::registrationDictionaryForGrowl() const {
  const auto names = names_.load();
  const std::vector<std::string> all = {names->growlFound,       names->growlRemoved,
                                        names->growlQuarantined, names->updateSuccessful,
                                        names->alreadyUpToDate,  errorName};
  return {all, all};
}

bool Notifications::displayGrowlDialogWithTitleAndDescription(std::int32_t code,
                                                              const std::string& description,
                                                              const NotificationDetails& details) {
  if (MacOSVersion < firstVersionWithNotifications || !growl_.isGrowlRunning()) {
    return false;
  }
  const auto names = names_.load();
  GrowlNotification notification{ownTitle, errorName, description, 0, true, details};
  switch (code) {
    case notificationFound:
      notification.title = notification.name = names->growlFound;
      break;
    case notificationQuarantined:
      notification.title = notification.name = names->growlQuarantined;
      break;
    case notificationRemoved:
      notification.title = notification.name = names->growlRemoved;
      break;
    case notificationUpdateSuccessful:
      notification.name = names->updateSuccessful;
      break;
    case notificationAlreadyUpToDate:
      notification.name = names->alreadyUpToDate;
      break;
    default:
      break;
  }
  const bool isFind =
      code == notificationFound || code == notificationQuarantined || code == notificationRemoved;
  notification.details.isFind = notification.details.isFind || isFind;
  growl_.notify(notification);
  return true;
}

}  // namespace quillo
