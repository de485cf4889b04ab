#include "scanning/FindNotification.h"

#include <string>
#include <vector>

#include "clamav/ReportedText.h"
#include "platform/Wording.h"
#include "platform/Workspace.h"
#include "posix/Text.h"
#include "scanning/FileRemover.h"
#include "scanning/FoundFile.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"

namespace quillo {
namespace {

std::string keyOf(FindOutcome outcome, bool isSuspicion) {
  const std::string suspicion = isSuspicion ? "_SUSPICIOUS" : "";
  switch (outcome) {
    case FindOutcome::inPlace:
      return "FIND_IN_PLACE" + suspicion;
    case FindOutcome::notMoved:
      return "FIND_NOT_MOVED" + suspicion;
    case FindOutcome::quarantined:
      return "FIND_QUARANTINED" + suspicion;
    case FindOutcome::trashed:
      return "FIND_TRASHED" + suspicion;
  }
  return "";
}

void addWords(NotificationDetails& details, const Verdict& infection, FindOutcome outcome,
              LocalizedStrings& strings) {
  // One line each, whatever the names hold.
  const std::string path = reportedText(infection.path);
  const std::string place =
      infection.target.empty() ? path : path + " → " + reportedText(infection.target);
  details.summary =
      Wording{keyOf(outcome, infection.isHeuristic()), {std::string(lastPathComponent(path))}}.in(
          strings);
  details.body =
      outcome == FindOutcome::notMoved
          ? Wording{"FIND_PLACE_REASON", {place, infection.threat, infection.reason}}.in(strings)
          : Wording{"FIND_PLACE", {place, infection.threat}}.in(strings);
}

}  // namespace

NotificationDetails findNotification(const Verdict& infection, FindOutcome outcome,
                                     const std::shared_ptr<FoundFile>& left, ScannerOwner& owner,
                                     const ScannerServices& services) {
  LocalizedStrings& strings = services.localizedStrings;
  NotificationDetails details;
  details.isFind = true;
  // A line that names no file has no better words.
  if (!infection.path.empty()) {
    addWords(details, infection, outcome, strings);
  }
  const std::string showTitle = strings.stringForKey("NOTIFICATION_SHOW", "");
  if (left && !infection.path.empty()) {
    details.topic = left->topic();
    details.buttons.push_back({showTitle, [left] { left->show(); }, true});
    details.buttons.push_back({strings.stringForKey("NOTIFICATION_TRASH", ""),
                               [left, &owner, &services] {
                                 FileRemover::moveToTrash(left, owner.dialogList(), services);
                               },
                               true});
  } else if (outcome == FindOutcome::quarantined && !infection.destination.empty()) {
    details.buttons.push_back(
        {showTitle,
         [place = infection.destination, &services] { services.workspace.selectFile(place); },
         true});
  }
  details.buttons.push_back(
      {strings.stringForKey("NOTIFICATION_LOG", ""), [&owner] { owner.openScanLog(); }});
  return details;
}

}  // namespace quillo
