#include "agent/DefinitionsWarning.h"

#include "engine/ClamdLink.h"
#include "platform/Application.h"
#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"

namespace quillo {

void DefinitionsWarning::warnIfMissing() {
  if (withdrawIfOver()) {
    return;
  }
  services_.systemLog.log(
      "No virus definitions are installed, only the built-in one of the EICAR test file: malware "
      "is "
      "NOT found until the definitions have been updated");
  LocalizedStrings& strings = services_.localizedStrings;
  NotificationDetails details;
  details.topic = definitionsTopic;
  details.buttons.push_back({strings.stringForKey("NOTIFICATION_UPDATE", ""), update_});
  services_.notifier.displayGrowlDialogWithTitleAndDescription(
      notificationError, strings.stringForKey("DEFINITIONS_MISSING", ""), details);
}

void DefinitionsWarning::definitionsCame() {
  services_.application.performOnMainThread([this] { withdrawIfOver(); });
}

bool DefinitionsWarning::withdrawIfOver() {
  if (!engine_.hasRealDefinitions()) {
    return false;
  }
  services_.notifier.withdraw(definitionsTopic);
  return true;
}

}  // namespace quillo
