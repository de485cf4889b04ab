#include "scanning/Consequences.h"

#include "clamav/Verdict.h"
#include "platform/Dialog.h"
#include "platform/LocalizedStrings.h"
#include "platform/SystemLog.h"
#include "platform/Workspace.h"
#include "posix/Text.h"
#include "scanning/FileRemover.h"
#include "scanning/FoundFile.h"
#include "scanning/ScannerOwner.h"

namespace quillo {
namespace {

void openFolderOf(ButtonDialog& dialog, const std::string& folder, ScannerOwner& owner,
                  bool waitsForOpener) {
  dialog.orderOut();
  if (waitsForOpener) {
    owner.openAndWait(folder);
  } else {
    owner.open(folder);
  }
  dialog.close();
}

// The line up to its last colon, which is the one before the threat's name.
std::string_view pathAsShown(const Verdict& infection) {
  const std::string_view line = infection.line;
  const int colon = lastColon(line);
  return colon < 0 ? line : line.substr(0, static_cast<std::size_t>(colon));
}

// The key of what became of an infected file, by the kind of notification that is shown of it.
std::string keyOf(NotificationCode code) {
  switch (code) {
    case notificationFound:
      return "FIND_IN_PLACE";
    case notificationQuarantined:
      return "FIND_QUARANTINED";
    case notificationRemoved:
      return "FIND_TRASHED";
    default:
      return "FIND_NOT_MOVED";
  }
}

void addWords(NotificationDetails& details, const Verdict& infection, NotificationCode code,
              LocalizedStrings& strings) {
  // One line each, whatever the names hold.
  const std::string path = reportedText(infection.path);
  const std::string place =
      infection.target.empty() ? path : path + " → " + reportedText(infection.target);
  details.summary = Wording{keyOf(code) + (infection.isHeuristic() ? "_SUSPICIOUS" : ""),
                            {std::string(lastPathComponent(path))}}
                        .in(strings);
  details.body =
      code == notificationError
          ? Wording{"FIND_PLACE_REASON", {place, infection.threat, infection.reason}}.in(strings)
          : Wording{"FIND_PLACE", {place, infection.threat}}.in(strings);
}

}  // namespace

Consequences::Consequences(ScannerOwner& owner, const ScannerServices& services,
                           bool waitsForOpener)
    : owner_(owner), services_(services), waitsForOpener_(waitsForOpener) {}

void Consequences::drawFrom(const Verdict& infection) {
  using Action = InfectedFileAction;
  const Action action = policy_.quarantineOrTrash;
  const bool wasToMove = action != Action::leaveInPlace;
  const bool wasLeft = infection.whereabouts == Verdict::Whereabouts::inPlace;
  if (wasToMove && infection.whereabouts == Verdict::Whereabouts::notMoved) {
    showStillThere(infection);
  } else if (!wasToMove || wasLeft) {
    // Nothing failed where a scanner left it of its own accord.
    showWarning(infection);
  } else if (action == Action::quarantine) {
    showQuarantined(infection);
  } else {
    notify(notificationRemoved, std::string(pathAsShown(infection)), infection);
  }
}

void Consequences::showQuarantined(const Verdict& infection) {
  if (!policy_.suppressInfoDialogs) {
    if (auto dialog = services_.interfaceLoader.load("QuarantinedDialog")) {
      theDialog = dialog;
      dialog->setSubject(infection.path);
      dialog->setSuspicious(infection.isHeuristic());
      // The dialog lets go of its action, and so of itself, when it closes.
      dialog->setAction([&owner = owner_, waits = waitsForOpener_, dialog,
                         folder = policy_.quarantineLocation](ButtonDialog::Button button) {
        const auto alive = dialog;
        if (button == ButtonDialog::Button::deleteButton) {
          openFolderOf(*alive, folder, owner, waits);
        } else {
          alive->close();
        }
      });
    } else {
      services_.systemLog.log("Error loading Nib for document!");
    }
    if (theDialog) {
      theDialog->orderFrontRegardless();
    }
  }
  notify(notificationQuarantined, infection.line, infection);
}

bool Consequences::warn(const std::shared_ptr<FoundFile>& file) {
  file->takePrint();
  auto dialog = services_.interfaceLoader.load("WarningDialog");
  if (!dialog) {
    services_.systemLog.log("Error loading Nib for document!");
    return false;
  }
  theDialog = dialog;
  FileRemover::attachTo(dialog, file, services_);
  dialog->orderFrontRegardless();
  return true;
}

void Consequences::showWarning(const Verdict& infection) {
  const auto file = std::make_shared<FoundFile>(infection, services_);
  if (warn(file)) {
    notify(notificationFound, infection.line, infection, file);
  }
  file->watch();
}

// Notified of also where no dialog can be shown: the user was promised that such files go away, and
// this one did not.
void Consequences::showStillThere(const Verdict& infection) {
  const auto file = std::make_shared<FoundFile>(infection, services_);
  warn(file);
  const Wording text = {"NOT_MOVED", {std::string(pathAsShown(infection)), infection.reason}};
  notify(notificationError, text.in(services_.localizedStrings), infection, file);
  file->watch();
}

void Consequences::notify(NotificationCode code, const std::string& description,
                          const Verdict& infection, const std::shared_ptr<FoundFile>& left) {
  LocalizedStrings& strings = services_.localizedStrings;
  NotificationDetails details;
  details.isFind = true;
  // A line that names no file has no better words.
  if (!infection.path.empty()) {
    addWords(details, infection, code, strings);
  }
  // Buttons may outlive this object, not what they refer to.
  ScannerOwner& owner = owner_;
  const ScannerServices& services = services_;
  const std::string showTitle = strings.stringForKey("NOTIFICATION_SHOW", "");
  if (left && !infection.path.empty()) {
    details.topic = left->topic();
    details.buttons.push_back({showTitle, [left] { left->show(); }, true});
    details.buttons.push_back({strings.stringForKey("NOTIFICATION_TRASH", ""),
                               [left, &services] { FileRemover::moveToTrash(left, services); },
                               true});
  } else if (code == notificationQuarantined && !infection.destination.empty()) {
    details.buttons.push_back({showTitle,
                               [place = infection.destination, &services, &owner] {
                                 if (!owner.openPage("quarantine")) {
                                   services.workspace.selectFile(place);
                                 }
                               },
                               true});
  }
  details.buttons.push_back(
      {strings.stringForKey("NOTIFICATION_LOG", ""), [&owner] { owner.openScanLog(); }});
  services_.notifier.displayGrowlDialogWithTitleAndDescription(code, description, details);
}

void Consequences::showEngineError(const std::string& quitMenuName) {
  services_.systemLog.log("can't connect to clamd");
  auto dialog = services_.interfaceLoader.load("QuarantinedDialog");
  if (!dialog) {
    services_.systemLog.log("Error loading nib for warning dialog!");
    return;
  }
  theDialog = dialog;
  dialog->setKind(ButtonDialog::Kind::engineError);
  const std::string text = services_.localizedStrings.stringForKey("CLAMDSCAN_ERROR", "");
  dialog->setMessage(text);
  dialog->setDeleteButtonTitle(quitMenuName);
  dialog->setAction([dialog, &owner = owner_](ButtonDialog::Button button) {
    const auto alive = dialog;
    if (button == ButtonDialog::Button::deleteButton) {
      owner.quit();
    } else {
      alive->close();
    }
  });
  dialog->orderFrontRegardless();
  NotificationDetails details;
  details.topic = engineTopic;
  details.buttons.push_back(
      {services_.localizedStrings.stringForKey("NOTIFICATION_VANTREL", ""), [&owner = owner_] {
         if (!owner.openPage("overview")) {
           owner.openScanLog();
         }
       }});
  details.buttons.push_back({services_.localizedStrings.stringForKey("NOTIFICATION_LOG", ""),
                             [&owner = owner_] { owner.openScanLog(); }});
  services_.notifier.displayGrowlDialogWithTitleAndDescription(notificationError, text, details);
}

void Consequences::openQuarantineFolder(ButtonDialog& dialog, const std::string& folder) {
  openFolderOf(dialog, folder, owner_, waitsForOpener_);
}

}  // namespace quillo
