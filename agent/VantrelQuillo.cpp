#include "agent/VantrelQuillo.h"

#include <utility>

#include "platform/AgentLink.h"
#include "platform/Application.h"
#include "platform/MainInterface.h"
#include "platform/Session.h"
#include "platform/StatusItem.h"
#include "posix/ChildProcess.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

constexpr const char* restartKey = "restartWatchingViaAS";

}  // namespace

VantrelQuillo::VantrelQuillo(const AgentServices& services, Throbber& mainMenu)
    : parts_(services, mainMenu) {
  parts_.firstPatientScanner.setMyName("firstPatientScanner");
  parts_.secondPatientScanner.setMyName("secondPatientScanner");
  parts_.mainMenu.setController(parts_.menuLink);
  parts_.statusBoard.setEngineIsBack([this] { parts_.mainMenu.showStatus(); });
  parts_.statusBoard.setHasChanged(
      [this] { parts_.services.platform.statusPublisher.statusChanged(); });
  connectInterface();
  parts_.scanLog.logAllToScanLog();
}

VantrelQuillo::~VantrelQuillo() { parts_.runningScanners.endAllForGood(); }

void VantrelQuillo::connectInterface() {
  MainInterface& interface = parts_.services.platform.mainInterface;
  interface.startMenuItem.setAction([this] { startWatcher(); });
  interface.stopMenuItem.setAction([this] { stopWatcher(); });
  interface.restartMenuItem.setAction([this] { restartWatcher(); });
  interface.abortMenuItem.setAction([this] { abortScans(); });
  interface.abortConfirmMenuItem.setAction([this] { abortScans(); });
  interface.updateDefsMenuItem.setAction([this] { updateVirusDefs(); });
  interface.quitMenuItem.setAction([this] { quit(); });
  for (MenuItem* log : {&interface.openScanLogMenuItem, &interface.openQuilloConsoleLogMenuItem,
                        &interface.openUpdateLogMenuItem}) {
    log->setAction([this, log] { parts_.mainMenu.openLog(*log); });
  }
  interface.stateMenuItem.setAction([this] { parts_.dockWindow.show(); });
  interface.mendMenuItem.setAction([this] { parts_.requests.attempt([this] { mend(); }); });
  interface.noEngineAloneWindow.setAction(
      [this](ButtonDialog::Button) { parts_.preferenceFile.open(); });
  interface.noEngineWindow.setAction([this](ButtonDialog::Button button) {
    if (button == ButtonDialog::Button::deleteButton) {
      openPrefs(true);
    } else {
      openAppFromError();
    }
  });
}

void VantrelQuillo::applicationDidFinishLaunching() {
  parts_.requests.perform([this] {
    const Platform& platform = parts_.services.platform;
    parts_.scanLog.greet();
    startThreads();
    // They can ask while the engine loads, which may take long.
    answerScripts();
    platform.application.setReopenHandler([this] { return showItself(); });
    parts_.notifications.loadNames();
    parts_.notifications.registerWith(platform.application);
    parts_.watching.startAtLaunch();
    parts_.dockWindow.showIfWanted();
    listenToDesktop();
    platform.statusBar.observeRoom([this](StatusBar::Room room, const std::string& desktop) {
      parts_.trayHint.roomChanged(room, desktop);
    });
  });
}

// Each by itself: where no thread is to be had for one, the others still do their work.
void VantrelQuillo::startThreads() {
  const auto start = [this](const char* name, std::function<void()> body) {
    parts_.requests.attempt(
        [&] { parts_.services.threads.detachNewThread(name, std::move(body)); });
  };
  start("Throbber", [this] { parts_.mainMenu.mainLoop(parts_.menuLink); });
  start("Dispatcher", [this] { parts_.theDispatcher.mainLoop(); });
  start("firstPatientScanner", [this] { parts_.firstPatientScanner.mainLoop(); });
  start("secondPatientScanner", [this] { parts_.secondPatientScanner.mainLoop(); });
  parts_.requests.attempt([this] { parts_.history.begin(parts_.services.threads); });
}

void VantrelQuillo::answerScripts() {
  // Whoever sees the status below may count on being heard.
  PlannedScanNotice& notice = parts_.plannedScanNotice;
  DistributedNotificationCenter& center = parts_.services.platform.distributedNotificationCenter;
  center.addObjectObserver(plannedScanFound,
                           [&notice](const std::string& report) { notice.show(report, true); });
  center.addObjectObserver(plannedScanEnded,
                           [&notice](const std::string& report) { notice.show(report, false); });
  parts_.services.platform.scriptingKeys.publish(
      [this](const std::string& key) -> std::optional<std::string> {
        if (!applicationDelegateHandlesKey(key)) {
          return std::nullopt;
        }
        return restartWatchingViaAS();
      });
  StatusPublisher& publisher = parts_.services.platform.statusPublisher;
  publisher.publishStatus([this] { return parts_.statusReport.status(); });
  // Whoever asked before there was an answer.
  publisher.statusChanged();
}

void VantrelQuillo::listenToDesktop() {
  const Platform& platform = parts_.services.platform;
  DistributedNotificationCenter& center = platform.distributedNotificationCenter;
  center.addObserver("VantrelQuilloShouldRestart", [this] { restartWatcher(); });
  center.addObserver("VantrelQuilloShouldQuit", [this] { quit(); });
  platform.powerNotifications.observe([this] { goingToSleep(); }, [this] { wakingUp(); });
}

void VantrelQuillo::abortScans() {
  parts_.gfsLogger.abortCatchUp();
  std::vector<std::string> dropped = parts_.theDispatcher.abortScans();
  const std::vector<std::string> waiting = parts_.unscannedFiles.giveUp();
  dropped.insert(dropped.end(), waiting.begin(), waiting.end());
  parts_.abortedScans.abort(dropped, [this] {
    parts_.runningScanners.endAll();
    runShellCommand("killall -9 clamdscan");
  });
}

void VantrelQuillo::updateVirusDefs() {
  parts_.requests.attempt([this] { parts_.definitionUpdates.updateVirusDefsAndNotify(true); });
}

// What can be done about each thing that the icon says to be wrong.
void VantrelQuillo::mend() {
  switch (parts_.mainMenu.attention()) {
    case Attention::noPreferences:
    case Attention::noEngine:
      parts_.noEngineWindow.showAgain();
      break;
    case Attention::engineFails:
    case Attention::helperFails:
      parts_.watching.restartWatcherSoon();
      break;
    case Attention::noDefinitions:
    case Attention::oldDefinitions:
      parts_.definitionUpdates.updateVirusDefsAndNotify(true);
      break;
    case Attention::missingFolders:
      if (!parts_.mainApplication.openPage("folders")) {
        parts_.preferenceFile.open();
      }
      break;
    case Attention::gaps:
      parts_.mainMenu.openScanLog();
      break;
    case Attention::none:
      break;
  }
}

void VantrelQuillo::openAppFromError() {
  openApp();
  parts_.mainApplication.awaitLaunch();
  quit();
}

void VantrelQuillo::openPrefs(bool fromDialogButton) {
  parts_.mainApplication.openPrefs(fromDialogButton ? std::function<void()>([this] { quit(); })
                                                    : nullptr);
}

int VantrelQuillo::showItself() {
  const StatusFacts facts = parts_.statusBoard.status();
  if (facts.engineMissing && !facts.settingUp) {
    parts_.watching.restartWatcherSoon();
  }
  return parts_.dockWindow.show();
}

bool VantrelQuillo::applicationDelegateHandlesKey(const std::string& key) {
  return key == restartKey;
}

std::string VantrelQuillo::restartWatchingViaAS() {
  parts_.mainMenu.canRestartFromAS();
  return "Restart Requested";
}

}  // namespace quillo
