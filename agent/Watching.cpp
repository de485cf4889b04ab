#include "agent/Watching.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "agent/AgentParts.h"
#include "platform/AgentLink.h"
#include "platform/Application.h"
#include "platform/Session.h"
#include "platform/SystemLog.h"
#include "posix/Clock.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

// The desktop ends whoever does not at the end of a session: after 90 s, systemd's default.
constexpr std::chrono::seconds longestLaunchAtQuit(60);
// What was found in the last seconds is worth a moment.
constexpr std::chrono::seconds longestFlushAtQuit(1);

}  // namespace

Watching::State Watching::state() const {
  if (parts_.gfsLogger.isWatching()) {
    return State::watching;
  }
  if (parts_.statusBoard.status().settingUp) {
    return State::starting;
  }
  if (quitWaits_) {
    return State::quitting;
  }
  return startAfterSleep ? State::asleep : State::stopped;
}

void Watching::startWatcherAndUpdate(bool update) {
  parts_.requests.perform([this, update] { begin(update); });
}

void Watching::stopWatcher() {
  parts_.requests.perform([this] { end(); });
}

void Watching::restartWatcher() {
  parts_.requests.perform([this] {
    log("restartWatcher");
    endIfWatching();
    begin(false);
  });
}

void Watching::restartWatcherSoon() {
  parts_.services.platform.application.performOnMainThread([this] { restartWatcher(); });
}

void Watching::goingToSleep() {
  parts_.requests.perform([this] {
    if (state() == State::watching) {
      log("We're currently watching for changes, so stop and then register to know when we wake up "
          "again");
      end();
      startAfterSleep = true;
      parts_.services.platform.statusPublisher.statusChanged();
    }
    log("Nighty night!");
  });
}

// Asleep or not: what somebody started meanwhile is started anew.
void Watching::wakingUp() {
  parts_.requests.perform([this] {
    log("Wakey wakey!");
    if (startAfterSleep) {
      begin(false);
      startAfterSleep = false;
      parts_.services.platform.statusPublisher.statusChanged();
    }
  });
}

void Watching::stopWatcherFromWatcher() {
  parts_.gfsLogger.stopWatching();
  parts_.services.platform.application.performOnMainThread(
      [this] { parts_.requests.perform([this] { finishEndUnlessBegun(); }); });
}

void Watching::startWatcherFromWatcher() {
  parts_.services.platform.application.performOnMainThread(
      [this] { startWatcherAndUpdate(false); });
}

void Watching::startAtLaunch() {
  // Whatever goes wrong here, the user and the desktop must still reach the agent.
  parts_.requests.attempt([this] { begin(true); });
  startAfterSleep = false;
}

void Watching::begin(bool update) {
  // Shown to be over even if an exception ends it.
  struct SettingUp {
    AgentParts& parts;
    explicit SettingUp(AgentParts& all) : parts(all) { show(true); }
    ~SettingUp() { show(false); }
    void show(bool settingUp) {
      parts.statusBoard.setSettingUp(settingUp);
      parts.mainMenu.showStatus();
    }
  } settingUp(parts_);
  setUp(update);
}

void Watching::setUp(bool update) {
  if (parts_.statusBoard.status().engineMissing) {
    // What it says may be over. If it is not, it comes again.
    parts_.noEngineWindow.takeAway();
  }
  parts_.statusBoard.setEngineMissing(false);
  parts_.statusBoard.setEngineFails(false);
  parts_.statusBoard.setPreferencesMissing(false);
  Preferences& preferences = parts_.preferences;
  if (!preferences.readPrefs()) {
    reportNoEngine(preferences.engineProblem());
    parts_.mainMenu.enableMenuItems(0);
    return;
  }
  parts_.progressLog.setEnabled(preferences.settings()->logProgress);
  parts_.scanLog.rotateLogFile();
  if (!parts_.scanParameters.setScanParameters(*preferences.settings())) {
    const auto scanner = preferences.settings()->clamScanPATH;
    reportNoEngine(scanner ? EngineProblem{EngineProblem::Kind::scannerMissing, *scanner}
                           : preferences.unnamedEngine());
  }
  const auto& parameters = parts_.scanParameters.scanAndUpdateParametersWithThrobber();
  parts_.firstPatientScanner.setMenuAndParams(parameters, *preferences.settings());
  parts_.secondPatientScanner.setMenuAndParams(parameters, *preferences.settings());
  parts_.watchList.populateMenu();
  parts_.statusBoard.setWatchedFolders(*parts_.watchList.getWatchedFolderList());
  parts_.statusBoard.setMissingFolders(parts_.watchList.missingFolders());
  parts_.services.platform.systemLog.log(parts_.watchList.inWords());
  startWatcherThread();
  parts_.statusBoard.setWatching(true);
  parts_.nameWatcher.start();
  if (update && preferences.settings()->updateDefsAtLaunch) {
    parts_.definitionUpdates.updateVirusDefsAndNotify(false);
  }
  parts_.definitionsWarning.warnIfMissing();
  parts_.health.begin(parts_.services.threads);
}

void Watching::startWatcherThread() {
  FSEventWatcher& watcher = parts_.gfsLogger;
  if (watcher.isWatching() || !watcher.claimMainLoop()) {
    return;
  }
  try {
    parts_.services.threads.detachNewThread("FSEventWatcher", [&watcher] { watcher.mainLoop(); });
  } catch (...) {
    watcher.abandonMainLoop();
    throw;
  }
}

void Watching::reportNoEngine(const EngineProblem& problem) {
  parts_.statusBoard.setEngineMissing(true);
  parts_.statusBoard.setPreferencesMissing(problem.kind == EngineProblem::Kind::noPreferences);
  parts_.noEngineWindow.show(problem);
}

void Watching::end() {
  parts_.gfsLogger.stopWatching();
  finishEnd();
}

void Watching::endIfWatching() {
  if (state() == State::watching) {
    end();
  }
}

// Somebody may have begun watching anew since the watcher stopped: the loop then goes on, whatever
// becomes of later starts.
void Watching::finishEndUnlessBegun() {
  if (!parts_.gfsLogger.isToWatch()) {
    finishEnd();
  }
}

void Watching::finishEnd() {
  parts_.health.setWatching(false);
  parts_.nameWatcher.stop();
  parts_.watchList.stop();
  parts_.statusBoard.setWatchedFolders({});
  parts_.statusBoard.setWatching(false);
  parts_.preferences.drop();
  parts_.scanParameters.empty();
}

void Watching::quit() {
  const bool recovering = parts_.clamdLink.launchNoMore() && parts_.daemonStart.weLaunchedClamd;
  if (parts_.daemonStart.launchingClamd || recovering) {
    // A daemon left alone now would run on, and nobody would know that it is ours to stop.
    quitOnceLaunched();
    return;
  }
  quitNow();
}

void Watching::quitOnceLaunched() {
  if (std::exchange(quitWaits_, true)) {
    return;
  }
  parts_.services.platform.statusPublisher.statusChanged();
  try {
    parts_.services.threads.detachNewThread("quit", [this] {
      parts_.services.clock.sleepFor(longestLaunchAtQuit);
      parts_.clamdLink.abandonLaunch();
    });
  } catch (const std::system_error&) {
    // No thread is to be had: the quit then comes when the daemon is there, however late.
  }
  parts_.requests.perform([this] {
    endIfWatching();
    parts_.services.platform.application.waitKeepingDesktopAlive(
        [this] { parts_.clamdLink.awaitRecovery(); });
    quitNow();
  });
}

void Watching::quitNow() {
  const Platform& platform = parts_.services.platform;
  // Whatever goes wrong with one of these, the rest is done and the process ends.
  const auto attempt = [this](const std::function<void()>& step) { parts_.requests.attempt(step); };
  attempt([this] { endIfWatching(); });
  // A scan that went on unseen could move files that no log names.
  attempt([this] { parts_.runningScanners.endAllForGood(); });
  attempt([this] { parts_.unscannedFiles.giveUp(); });
  attempt([this] { parts_.history.end(longestFlushAtQuit); });
  attempt([&] { platform.distributedNotificationCenter.removeObservers(); });
  attempt([this] {
    if (parts_.daemonStart.weLaunchedClamd) {
      log("trying to quit clamd\n");
      parts_.clamdLink.quitClamd();
    }
  });
  // Before others hear that the agent has gone, and may start it again.
  attempt([this] { parts_.notifications.handOver(); });
  attempt([&] {
    platform.distributedNotificationCenter.post("VantrelQuilloHasQuit", "VantrelQuillo");
  });
  platform.application.exit(0);
}

void Watching::log(const char* line) { parts_.services.platform.systemLog.log(line); }

}  // namespace quillo
