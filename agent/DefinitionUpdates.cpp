#include "agent/DefinitionUpdates.h"

#include "agent/MainApplication.h"
#include "agent/NoEngineWindow.h"
#include "agent/Notifications.h"
#include "agent/Preferences.h"
#include "engine/ClamdLink.h"
#include "engine/DefinitionUpdater.h"
#include "menu/Throbber.h"
#include "platform/Application.h"
#include "platform/Dialog.h"
#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

// Outside what a program can exit with.
constexpr int couldNotRun = -1;

}  // namespace

DefinitionUpdates::DefinitionUpdates(Preferences& preferences, Notifications& notifications,
                                     Throbber& menu, NoEngineWindow& noEngineWindow,
                                     MainApplication& mainApplication, DefinitionsWarning& warning,
                                     Dialog& window, LocalizedStrings& strings,
                                     ThreadStarter& threads)
    : preferences_(preferences),
      notifications_(notifications),
      mainMenu(menu),
      noEngineWindow_(noEngineWindow),
      mainApplication_(mainApplication),
      warning_(warning),
      updateWindow(window),
      strings_(strings),
      threads_(threads) {}

void DefinitionUpdates::updateVirusDefsAndNotify(bool notify) {
  {
    MutexLock hold(mainMenu.monitor());
    mainMenu.startUpdate();
  }
  try {
    threads_.detachNewThread("definitions", [this, notify] { performDefsUpdate(notify); });
  } catch (...) {
    showEndOfUpdate();
    throw;
  }
}

void DefinitionUpdates::showEndOfUpdate() {
  MutexLock hold(mainMenu.monitor());
  mainMenu.stopUpdate();
}

std::optional<std::string> DefinitionUpdates::freshclamLogLocation(const WatchSettings& settings) {
  return settings.updateLog ? std::optional("--log=" + *settings.updateLog) : std::nullopt;
}

void DefinitionUpdates::performDefsUpdate(bool notify) {
  struct Shown {
    DefinitionUpdates& updates;
    ~Shown() { updates.showEndOfUpdate(); }
  } const shown{*this};
  // Taken once: watching may stop or start anew, and change them, while the updater runs.
  const auto settings = preferences_.settings();
  const LaunchRequest request = definitionUpdateRequest(*settings);
  const bool exit1MeansUpdated = settings->needsExit1FreshclamFlag;
  if (isReadableFile(request.launchPath)) {
    showResult(runUpdater(request), exit1MeansUpdated, notify);
  } else {
    noEngineWindow_.show({request.launchPath.empty() ? EngineProblem::Kind::updaterNotKnown
                                                     : EngineProblem::Kind::updaterMissing,
                          request.launchPath});
  }
}

int DefinitionUpdates::runUpdater(const LaunchRequest& request) {
  try {
    return ChildProcess(request).waitUntilExit();
  } catch (const PlatformException&) {
    return couldNotRun;
  }
}

void DefinitionUpdates::showResult(int status, bool exit1MeansUpdated, bool notify) {
  const int updatedStatus = exit1MeansUpdated ? 1 : 0;
  const auto names = notifications_.names();
  NotificationCode code = notificationError;
  std::string text = names->unknownError;
  // Whatever an earlier update came to is the past now.
  notifications_.withdraw(updateTopic);
  NotificationDetails details;
  details.topic = updateTopic;
  if (status == 0 || status == 1) {
    warning_.definitionsCame();
    if (!notify) {
      return;
    }
    const bool updated = status == updatedStatus;
    code = updated ? notificationUpdateSuccessful : notificationAlreadyUpToDate;
    text = updated ? names->updateSuccessful : names->alreadyUpToDate;
  } else {
    // There its user sees what the updater says, and has it tried again.
    details.buttons.push_back({strings_.stringForKey("NOTIFICATION_VANTREL", ""),
                               [&application = mainApplication_, &menu = mainMenu] {
                                 if (!application.openPage("overview")) {
                                   menu.openUpdateLog();
                                 }
                               }});
    details.buttons.push_back({strings_.stringForKey("NOTIFICATION_LOG", ""),
                               [&menu = mainMenu] { menu.openUpdateLog(); }});
  }
  if (!notifications_.displayGrowlDialogWithTitleAndDescription(code, text, details)) {
    updateWindow.setMessage(text);
    displayDialog(updateWindow);
  }
}

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
