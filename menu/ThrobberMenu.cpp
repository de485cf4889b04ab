// The menu's side of the Throbber: what is enabled when, the watched folders, and the commands.

#include "menu/Throbber.h"
#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/MainInterface.h"
#include "platform/ModifierKeys.h"
#include "platform/Workspace.h"
#include "posix/Accounts.h"
#include "posix/FileFacts.h"

namespace quillo {

void Throbber::setQuitEnabled(bool enabled) {
  if (showDockPref != "true" && showDockPref != "both") {
    quitMenuItem.setEnabled(enabled);
  }
}

void Throbber::enableMenuItems(std::int32_t mode) {
  constexpr std::int32_t settingUp = 0;
  constexpr std::int32_t idle = 1;
  constexpr std::int32_t watching = 2;
  constexpr std::int32_t busy = 3;
  if (mode < settingUp || mode > busy) {
    return;
  }
  startMenuItem.setEnabled(mode == idle);
  stopMenuItem.setEnabled(mode == watching);
  restartMenuItem.setEnabled(mode == watching);
  if (mode == idle) {
    return;
  }
  abortMenuItem.setEnabled(mode == busy);
  abortConfirmMenuItem.setEnabled(mode == busy);
  updateDefsMenuItem.setEnabled(mode == watching);
  showMend();
  if (mode == settingUp) {
    foldersWatchedMenuItem.setEnabled(false);
  }
  setQuitEnabled(mode != busy);
}

void Throbber::showMend() {
  const char* key = nullptr;
  bool isEnabled = true;
  switch (attention_) {
    case Attention::noPreferences:
    case Attention::noEngine:
      key = "MEND_ENGINE";
      break;
    case Attention::engineFails:
    case Attention::helperFails:
      key = "MEND_ENGINE_FAILS";
      break;
    case Attention::noDefinitions:
    case Attention::oldDefinitions:
      key = "MEND_DEFINITIONS";
      // As the command is that it stands for.
      isEnabled = updateDefsMenuItem.isEnabled();
      break;
    case Attention::missingFolders:
      key = "MEND_FOLDERS";
      break;
    case Attention::gaps:
      key = "MEND_GAPS";
      break;
    case Attention::none:
      break;
  }
  if (key) {
    mendMenuItem_.setTitle(services_.localizedStrings.stringForKey(key, ""));
    mendMenuItem_.setEnabled(isEnabled);
  }
  mendMenuItem_.setHidden(!key);
}

void Throbber::clearMenu() {
  services_.mainInterface.theSubMenu.removeAllItems();
  numReadyToWatch = 0;
  foldersWatchedMenuItem.setEnabled(false);
  isSettingUp_ = false;
  currentlyWatching = false;
  enableMenuItems(1);
  rest(Rest::idle);
  setAlternateImage(images_.load()->altImage2);
  showStatus();
}

void Throbber::addToMenuWithObjectToWatch(const std::string& title, const std::string&) {
  if (title != "/Volumes") {
    if (!foldersWatchedMenuItem.isEnabled()) {
      foldersWatchedMenuItem.setEnabled(true);
    }
    const std::string shown = abbreviatingWithTilde(title, services_.folders.homeFolder());
    services_.mainInterface.theSubMenu.insertItem(0, shown, [this, shown] { openFolder(shown); });
  }
  enableMenuItems(0);
  startMenuItem.setTitle(services_.localizedStrings.stringForKey("WAIT", ""));
  foldersWatchedMenuItem.setEnabled(true);
  isSettingUp_ = true;
  showStatus();
}

void Throbber::openFolder(const std::string& itemTitle) {
  services_.workspace.openFile(expandingTilde(itemTitle, services_.folders.homeFolder()));
}

std::optional<std::string> Throbber::pathOfLog(const MenuItem& sender) {
  if (&sender == &services_.mainInterface.openScanLogMenuItem) {
    const bool ofMainApplication = services_.modifierKeys.current() & ModifierKeys::optionKey;
    return services_.folders.homeFolder() + "/Library/Logs/" +
           (ofMainApplication ? "vantrel-scan.log" : "VantrelQuillo-scan.log");
  }
  if (&sender == &services_.mainInterface.openQuilloConsoleLogMenuItem) {
    // Deliberately not expanded.
    return "~/Library/Logs/VantrelQuilloConsole.log";
  }
  return vantrelQuilloController.load()->updateLog();
}

void Throbber::openLog(const MenuItem& sender) {
  const auto path = pathOfLog(sender);
  if (!path || !fileExists(*path) || !services_.workspace.openFile(*path)) {
    services_.application.beep();
  }
}

void Throbber::openScanLog() { openLog(services_.mainInterface.openScanLogMenuItem); }
void Throbber::openUpdateLog() { openLog(services_.mainInterface.openUpdateLogMenuItem); }

void Throbber::folderMissingPanic() { vantrelQuilloController.load()->restartWatcher(); }

void Throbber::canRestartFromAS() {
  willRestartWatching = !restartMenuItem.isEnabled();
  if (!willRestartWatching) {
    vantrelQuilloController.load()->restartWatcher();
  }
}

}  // namespace quillo
