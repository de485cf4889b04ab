// How the agent begins and ends to watch.

#include "agent/VantrelQuillo.h"
#include "platform/Application.h"
#include "platform/LocalizedStrings.h"
#include "platform/MainInterface.h"
#include "platform/SystemLog.h"
#include "platform/Workspace.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"
#include "scanning/ScannerOwner.h"

namespace quillo {

void VantrelQuillo::beginWatching(bool update) {
  // The end is told even if an exception ends it.
  struct SettingUp {
    VantrelQuillo& agent;
    explicit SettingUp(VantrelQuillo& which) : agent(which) { tell(true); }
    ~SettingUp() { tell(false); }
    void tell(bool settingUp) {
      agent.statusBoard_.setSettingUp(settingUp);
      agent.mainMenu_.showStatus();
    }
  } settingUp(*this);
  setUpAndWatch(update);
}

void VantrelQuillo::setUpAndWatch(bool update) {
  if (statusBoard_.status().engineMissing) {
    // What they say may be over. If it is not, they come again.
    services_.platform.mainInterface.noEngineWindow.orderOut();
    services_.platform.mainInterface.noEngineAloneWindow.orderOut();
  }
  statusBoard_.setEngineMissing(false);
  statusBoard_.setPreferencesMissing(false);
  if (!preferences_.readPrefs()) {
    tellNoEngine(preferences_.engineProblem());
    mainMenu_.enableMenuItems(0);
    return;
  }
  progressLog_.setEnabled(settings()->logProgress);
  scanLog_.rotateLogFile();
  if (!scanParameters_.setScanParameters(*settings())) {
    const auto scanner = settings()->clamScanPATH;
    tellNoEngine(scanner ? EngineProblem{EngineProblem::Kind::scannerMissing, *scanner}
                         : preferences_.unnamedEngine());
  }
  firstPatientScanner.setMenuAndParams(scanParameters_.scanAndUpdateParametersWithThrobber());
  secondPatientScanner.setMenuAndParams(scanParameters_.scanAndUpdateParametersWithThrobber());
  watchList_.populateMenu();
  statusBoard_.setWatchedFolders(*watchList_.getWatchedFolderList());
  statusBoard_.setMissingFolders(watchList_.missingFolders());
  services_.platform.systemLog.log(watchList_.inWords());
  startWatcherThread();
  nameWatcher_.start();
  if (update && settings()->updateDefsAtLaunch) {
    definitionUpdates_.updateVirusDefsAndNotify(false);
  }
  warnOfMissingDefinitions();
  lookAfterHealth();
}

void VantrelQuillo::startWatcherThread() {
  if (gfsLogger.isWatching() || !gfsLogger.claimMainLoop()) {
    return;
  }
  try {
    services_.threads.detachNewThread("FSEventWatcher", [this] { gfsLogger.mainLoop(); });
  } catch (...) {
    gfsLogger.abandonMainLoop();
    throw;
  }
}

void VantrelQuillo::warnOfMissingDefinitions() {
  if (clamdLink_.hasRealDefinitions()) {
    notifications_.withdraw(definitionsTopic);
    return;
  }
  services_.platform.systemLog.log(
      "No virus definitions are installed, only the built-in one of the EICAR test file: malware "
      "is "
      "NOT found until the definitions have been updated");
  LocalizedStrings& strings = services_.platform.localizedStrings;
  NotificationDetails details;
  details.topic = definitionsTopic;
  details.buttons.push_back(
      {strings.stringForKey("NOTIFICATION_UPDATE", ""), [this] { updateVirusDefs(); }});
  displayGrowlDialogWithTitleAndDescription(
      notificationError, strings.stringForKey("DEFINITIONS_MISSING", ""), details);
}

void VantrelQuillo::definitionsCame() {
  services_.platform.application.performOnMainThread([this] {
    if (clamdLink_.hasRealDefinitions()) {
      notifications_.withdraw(definitionsTopic);
    }
  });
}

void VantrelQuillo::openScanLog() {
  mainMenu_.openLog(services_.platform.mainInterface.openScanLogMenuItem);
}

void VantrelQuillo::openUpdateLog() {
  mainMenu_.openLog(services_.platform.mainInterface.openUpdateLogMenuItem);
}

void VantrelQuillo::endWatching() {
  gfsLogger.stopWatching();
  finishEndOfWatching();
}

void VantrelQuillo::finishEndOfWatching() {
  health_.setWatching(false);
  nameWatcher_.stop();
  watchList_.stop();
  statusBoard_.setWatchedFolders({});
  preferences_.drop();
  scanParameters_.empty();
}

void VantrelQuillo::stopWatcherFromWatcher() {
  gfsLogger.stopWatching();
  services_.platform.application.performOnMainThread(
      [this] { perform([this] { finishEndOfWatching(); }); });
}

void VantrelQuillo::startWatcherFromWatcher() {
  services_.platform.application.performOnMainThread([this] { startWatcher(); });
}

void VantrelQuillo::displayDialog(Dialog& window) {
  window.makeFloatingKeyAndOrderFront();
  window.orderFrontRegardless();
}

void VantrelQuillo::displayUpdateResult(const std::string& text) {
  Dialog& window = services_.platform.mainInterface.updateWindow;
  window.setMessage(text);
  displayDialog(window);
}

void VantrelQuillo::waitKeepingDesktopAlive(const std::function<void()>& wait) {
  services_.platform.application.waitKeepingDesktopAlive(wait);
}

void VantrelQuillo::openAndWait(const std::string& folder) {
  try {
    ChildProcess opener({"/usr/bin/open", {folder}, LaunchRequest::Output::inherited});
    waitKeepingDesktopAlive([&opener] { opener.waitUntilExit(); });
  } catch (const PlatformException&) {
    services_.platform.workspace.openFile(folder);
  }
}

void VantrelQuillo::open(const std::string& folder) {
  try {
    const auto opener = std::make_shared<ChildProcess>(
        LaunchRequest{"/usr/bin/open", {folder}, LaunchRequest::Output::inherited});
    services_.threads.detachNewThread("open", [opener] { opener->waitUntilExit(); });
  } catch (const PlatformException&) {
    services_.platform.workspace.openFile(folder);
  }
}

}  // namespace quillo
