#include "agent/VantrelQuillo.h"

#include <exception>
#include <system_error>
#include <utility>

#include "platform/Application.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/MainInterface.h"
#include "platform/PowerNotifications.h"
#include "platform/ScriptingKeys.h"
#include "platform/StatusItem.h"
#include "platform/SystemLog.h"
#include "platform/Volumes.h"
#include "platform/Workspace.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/Shell.h"
#include "posix/Text.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

constexpr const char* restartKey = "restartWatchingViaAS";
// The desktop ends whoever does not at the end of a session: after 90 s, systemd's default.
constexpr std::chrono::seconds longestLaunchAtQuit(60);

}  // namespace

VantrelQuillo::VantrelQuillo(const AgentServices& services, Throbber& menu)
    : services_(services),
      mainMenu_(menu),
      menuForScanners_(*this),
      scannerLink_(*this),
      watcherLink_(*this),
      engineLink_(*this),
      menuLink_(*this),
      scannerServices_{services.platform.application,
                       services.clock,
                       services.platform.folders,
                       services.platform.interfaceLoader,
                       services.platform.localizedStrings,
                       services.platform.modifierKeys,
                       services.preferences,
                       services.platform.systemLog,
                       services.platform.workspace,
                       &services.platform.fileDepartures,
                       &putBackFiles_,
                       &progressLog_,
                       &statusBoard_,
                       &runningScanners_,
                       &toldFiles_,
                       &abortedScans_},
      putBackFiles_(services.platform.folders.stateFolder(), services.platform.systemLog),
      progressLog_(services.platform.systemLog),
      abortedScans_(services.platform.systemLog, &progressLog_),
      statusBoard_({services.clock, services.platform.dockTile, services.platform.folders,
                    services.platform.localizedStrings}),
      theDispatcher_(services.clock, services.platform.systemLog, services.platform.volumes,
                     &progressLog_),
      intake_(theDispatcher_),
      watcherServices_{services.platform.application,
                       services.platform.authorization,
                       services.clock,
                       services.platform.folders,
                       services.platform.localizedStrings,
                       services.platform.nameWatch,
                       services.preferences,
                       services.platform.systemLog,
                       services.platform.trashFolders,
                       intake_},
      firstPatientScanner(scannerLink_, scannerServices_),
      secondPatientScanner(scannerLink_, scannerServices_),
      gfsLogger(watcherLink_, watcherServices_),
      nameWatcher_(watcherLink_, watcherServices_),
      scannerCount_(services.clock),
      clamdLink_(engineLink_,
                 {services.clock, services.platform.localizedStrings, services.platform.systemLog,
                  services.threads, services.findDaemon, services.isMarked}),
      notifications_(services.platform.growl, services.platform.localizedStrings),
      daemonStart_(clamdLink_, services.platform.systemLog),
      scratchFolders_(services.platform.folders, services.platform.systemLog),
      preferences_(services.platform.preferenceStore, services.preferences,
                   services.platform.systemLog, clamdLink_, daemonStart_, scratchFolders_),
      scanParameters_(services.platform.folders, menuForScanners_),
      watchList_({services.platform.mountNotifications, services.platform.preferenceStore,
                  services.preferences, services.platform.systemLog},
                 mainMenu_, theDispatcher_),
      definitionUpdates_(preferences_, notifications_, mainMenu_, engineLink_,
                         services.platform.localizedStrings, services.threads),
      scanLog_(services.platform.folders, services.preferences, services.platform.systemLog,
               [this](const std::function<void()>& wait) { waitKeepingDesktopAlive(wait); }),
      mainApplication_(services.platform.application, services.platform.applicationLauncher,
                       services.clock, services.platform.distributedNotificationCenter,
                       services.threads),
      preferenceFile_({services.platform.application, services.platform.folders,
                       services.platform.preferenceStore, services.platform.systemLog,
                       services.platform.workspace}),
      seenHints_(services.platform.folders, services.platform.systemLog),
      health_({services.clock, services.platform.systemLog, statusBoard_,
               [this] { return clamdLink_.loadedDefinitions(); },
               [this] { return watchList_.missingFolders(); }, [this] { tellOfHealth(); }}) {
  firstPatientScanner.setMyName("firstPatientScanner");
  secondPatientScanner.setMyName("secondPatientScanner");
  mainMenu_.setController(menuLink_);
  statusBoard_.setEngineIsBack([this] { mainMenu_.showStatus(); });
  connectInterface();
  scanLog_.logAllToScanLog();
}

VantrelQuillo::~VantrelQuillo() { runningScanners_.endAllForGood(); }

void VantrelQuillo::perform(std::function<void()> request) {
  requests_.perform([this, request = std::move(request)] { attempt(request); });
}

void VantrelQuillo::attempt(const std::function<void()>& request) {
  const auto failed = [this](const char* reason) {
    services_.platform.systemLog.log(std::string("A request failed: ") + reason);
    services_.platform.application.beep();
  };
  try {
    request();
  } catch (const std::exception& failure) {
    failed(failure.what());
  } catch (...) {
    failed("unknown failure");
  }
}

void VantrelQuillo::connectInterface() {
  MainInterface& interface = services_.platform.mainInterface;
  interface.startMenuItem.setAction([this] { startWatcher(); });
  interface.stopMenuItem.setAction([this] { stopWatcher(); });
  interface.restartMenuItem.setAction([this] { restartWatcher(); });
  interface.abortMenuItem.setAction([this] { abortScans(); });
  interface.abortConfirmMenuItem.setAction([this] { abortScans(); });
  interface.updateDefsMenuItem.setAction([this] { updateVirusDefs(); });
  interface.quitMenuItem.setAction([this] { quit(); });
  for (MenuItem* log : {&interface.openScanLogMenuItem, &interface.openQuilloConsoleLogMenuItem,
                        &interface.openUpdateLogMenuItem}) {
    log->setAction([this, log] { mainMenu_.openLog(*log); });
  }
  interface.stateMenuItem.setAction([this] { showWindow(); });
  interface.mendMenuItem.setAction([this] { mend(); });
  interface.noEngineAloneWindow.setAction([this](ButtonDialog::Button) { preferenceFile_.open(); });
  interface.noEngineWindow.setAction([this](ButtonDialog::Button button) {
    if (button == ButtonDialog::Button::deleteButton) {
      openPrefs(true);
    } else {
      openAppFromError();
    }
  });
}

void VantrelQuillo::applicationDidFinishLaunching() {
  perform([this] {
    scanLog_.greet();
    startThreads();
    // They can ask while the engine loads, which may take long.
    answerScripts();
    services_.platform.application.setReopenHandler([this] { return showItself(); });
    notifications_.loadNames();
    notifications_.registerWith(services_.platform.application);
    // Whatever goes wrong here, the user and the desktop must still reach the agent.
    attempt([this] { beginWatching(true); });
    showDockTileIfWanted();
    listenToDesktop();
    services_.platform.statusBar.observeRoom(
        [this](StatusBar::Room room, const std::string& desktop) { tellOfRoom(room, desktop); });
  });
}

// Each by itself: where no thread is to be had for one, the others still do their work.
void VantrelQuillo::startThreads() {
  const auto start = [this](const char* name, std::function<void()> body) {
    attempt([&] { services_.threads.detachNewThread(name, std::move(body)); });
  };
  start("Throbber", [this] { mainMenu_.mainLoop(menuLink_); });
  start("Dispatcher", [this] { theDispatcher_.mainLoop(); });
  start("firstPatientScanner", [this] { firstPatientScanner.mainLoop(); });
  start("secondPatientScanner", [this] { secondPatientScanner.mainLoop(); });
}

bool VantrelQuillo::wantsDockTile() const {
  const std::string wanted =
      lowercased(services_.preferences.value(key::showDockIcon).value_or(""));
  return wanted == "true" || wanted == "both";
}

void VantrelQuillo::showDockTileIfWanted() {
  if (!wantsDockTile()) {
    return;
  }
  if (const int error = services_.platform.application.transformToForegroundApplication()) {
    services_.platform.systemLog.log("Could not bring the application to front. Error " +
                                     std::to_string(error));
    return;
  }
  statusBoard_.showVerdicts();
}

void VantrelQuillo::listenToDesktop() {
  DistributedNotificationCenter& center = services_.platform.distributedNotificationCenter;
  center.addObserver("VantrelQuilloShouldRestart", [this] { restartWatcher(); });
  center.addObserver("VantrelQuilloShouldQuit", [this] { quit(); });
  startAfterSleep = false;
  services_.platform.powerNotifications.observe([this] { goingToSleep(); }, [this] { wakingUp(); });
}

void VantrelQuillo::answerScripts() {
  services_.platform.scriptingKeys.publish(
      [this](const std::string& key) -> std::optional<std::string> {
        if (!applicationDelegateHandlesKey(key)) {
          return std::nullopt;
        }
        return restartWatchingViaAS();
      });
}

void VantrelQuillo::startWatcherAndUpdate(bool update) {
  perform([this, update] { beginWatching(update); });
}

void VantrelQuillo::stopWatcher() {
  perform([this] { endWatching(); });
}

void VantrelQuillo::restartWatcher() {
  perform([this] {
    services_.platform.systemLog.log("restartWatcher");
    if (gfsLogger.isWatching()) {
      endWatching();
    }
    beginWatching(false);
  });
}

void VantrelQuillo::restartWatcherSoon() {
  services_.platform.application.performOnMainThread([this] { restartWatcher(); });
}

void VantrelQuillo::goingToSleep() {
  perform([this] {
    if (gfsLogger.isWatching()) {
      services_.platform.systemLog.log(
          "We're currently watching for changes, so stop and then register to know when we wake up "
          "again");
      endWatching();
      startAfterSleep = true;
    }
    services_.platform.systemLog.log("Nighty night!");
  });
}

void VantrelQuillo::wakingUp() {
  perform([this] {
    services_.platform.systemLog.log("Wakey wakey!");
    if (startAfterSleep) {
      beginWatching(false);
      startAfterSleep = false;
    }
  });
}

void VantrelQuillo::abortScans() {
  abortedScans_.abort(theDispatcher_.abortScans(), [this] {
    runningScanners_.endAll();
    runShellCommand("killall -9 clamdscan");
  });
}

void VantrelQuillo::updateVirusDefs() {
  attempt([this] { definitionUpdates_.updateVirusDefsAndNotify(true); });
}

void VantrelQuillo::openAppFromError() {
  openApp();
  mainApplication_.awaitLaunch();
  quit();
}

void VantrelQuillo::openPrefs(bool fromDialogButton) {
  mainApplication_.openPrefs(fromDialogButton ? std::function<void()>([this] { quit(); })
                                              : nullptr);
}

void VantrelQuillo::quit() {
  const bool recovering = clamdLink_.launchNoMore() && daemonStart_.weLaunchedClamd;
  if (daemonStart_.launchingClamd || recovering) {
    // A daemon left alone now would run on, and nobody would know that it is ours to stop.
    quitOnceLaunched();
    return;
  }
  quitNow();
}

void VantrelQuillo::quitNow() {
  // Whatever goes wrong with one of these, the rest is done and the process ends.
  attempt([this] {
    if (gfsLogger.isWatching()) {
      endWatching();
    }
  });
  // A scan that went on unseen could move files that no log tells of.
  attempt([this] { runningScanners_.endAllForGood(); });
  attempt([this] { services_.platform.distributedNotificationCenter.removeObservers(); });
  attempt([this] {
    if (daemonStart_.weLaunchedClamd) {
      services_.platform.systemLog.log("trying to quit clamd\n");
      clamdLink_.quitClamd();
    }
  });
  // Before others hear that the agent has gone, and may start it again.
  attempt([this] { notifications_.handOver(); });
  attempt([this] {
    services_.platform.distributedNotificationCenter.post("VantrelQuilloHasQuit", "VantrelQuillo");
  });
  services_.platform.application.exit(0);
}

void VantrelQuillo::quitOnceLaunched() {
  if (std::exchange(quitWaits_, true)) {
    return;
  }
  try {
    services_.threads.detachNewThread("quit", [this] {
      services_.clock.sleepFor(longestLaunchAtQuit);
      clamdLink_.abandonLaunch();
    });
  } catch (const std::system_error&) {
    // No thread is to be had: the quit then comes when the daemon is there, however late.
  }
  perform([this] {
    if (gfsLogger.isWatching()) {
      endWatching();
    }
    waitKeepingDesktopAlive([this] { clamdLink_.awaitRecovery(); });
    quitNow();
  });
}

bool VantrelQuillo::applicationDelegateHandlesKey(const std::string& key) {
  return key == restartKey;
}

std::string VantrelQuillo::restartWatchingViaAS() {
  mainMenu_.canRestartFromAS();
  return "Restart Requested";
}

}  // namespace quillo
