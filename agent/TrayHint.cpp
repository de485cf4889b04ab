#include "agent/TrayHint.h"

#include <sys/stat.h>
#include <unistd.h>

#include "agent/StatusBoard.h"
#include "menu/Throbber.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"

namespace quillo {

std::string SeenHints::fileOf(const std::string& subject) const {
  std::string name;
  for (const char c : subject) {
    const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    name += isPlain ? c : '-';
  }
  return folders_.stateFolder() + "/told-" + name;
}

bool SeenHints::isNews(const std::string& subject) {
  struct stat info = {};
  return lstat(fileOf(subject).c_str(), &info) != 0 && seenNow_.insert(subject).second;
}

void SeenHints::remember(const std::string& subject) {
  const std::string problem = writeNewFile("What was told", fileOf(subject), "");
  if (!problem.empty()) {
    log_.log(problem);
  }
}

void SeenHints::forget(const std::string& subject) {
  seenNow_.erase(subject);
  unlink(fileOf(subject).c_str());
}

void TrayHint::roomChanged(StatusBar::Room room, const std::string& desktop) {
  const std::string subject = "no-tray-" + desktop;
  if (room == StatusBar::Room::shown) {
    seenHints_.forget(subject);
    services_.notifier.withdraw(roomTopic);
    return;
  }
  if (window_.isWanted() || !seenHints_.isNews(subject)) {
    return;
  }
  if (notify()) {
    seenHints_.remember(subject);
  } else if (room == StatusBar::Room::notYet) {
    seenHints_.forget(subject);
    return;
  } else {
    window_.show();
  }
  services_.systemLog.log(
      "This desktop shows no status icons. Whoever starts the program again sees its window, which "
      "the preference ShowDockIcon keeps in the task bar");
}

bool TrayHint::notify() {
  LocalizedStrings& strings = services_.localizedStrings;
  NotificationDetails details;
  details.topic = roomTopic;
  details.buttons.push_back({strings.stringForKey("NO_TRAY_SHOW", ""), [this] { window_.show(); }});
  return services_.notifier.displayGrowlDialogWithTitleAndDescription(
      notificationError,
      replacingAll(strings.stringForKey("NO_TRAY", ""), "%@", mainMenu.stateInWords()), details);
}

}  // namespace quillo
