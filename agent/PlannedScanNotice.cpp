#include "agent/PlannedScanNotice.h"

#include <algorithm>

#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"

namespace quillo {

void PlannedScanNotice::show(const std::string& report, bool isFind) {
  if (report.empty()) {
    return;
  }
  const std::size_t end = std::min(report.find('\n'), report.size());
  NotificationDetails details;
  details.isFind = isFind;
  details.summary = report.substr(0, end);
  details.body = report.substr(std::min(end + 1, report.size()));
  details.buttons.push_back(
      {services_.localizedStrings.stringForKey("NOTIFICATION_RESULTS", ""), services_.showResults});
  services_.notifier.displayGrowlDialogWithTitleAndDescription(
      isFind ? notificationFound : notificationHint, details.body, details);
}

}  // namespace quillo
