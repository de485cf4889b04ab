// How the agent shows itself, says what is missing, and helps to mend it.

#include <utility>

#include "agent/EngineProblemText.h"
#include "agent/VantrelQuillo.h"
#include "platform/Application.h"
#include "platform/ApplicationLauncher.h"
#include "platform/LocalizedStrings.h"
#include "platform/MainInterface.h"
#include "platform/SystemLog.h"
#include "posix/Text.h"
#include "posix/ThreadStarter.h"
#include "scanning/ScannerOwner.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

// Of the notification of a desktop without a place for the icon.
constexpr const char* roomTopic = "room";

}  // namespace

int VantrelQuillo::showWindow() {
  statusBoard_.showVerdicts();
  const int error = services_.platform.application.activateIgnoringOtherApps();
  if (error != 0) {
    services_.platform.systemLog.log("Could not bring the application to front. Error " +
                                     std::to_string(error));
  }
  return error;
}

int VantrelQuillo::showItself() {
  const StatusFacts facts = statusBoard_.status();
  if (facts.engineMissing && !facts.settingUp) {
    restartWatcherSoon();
  }
  return showWindow();
}

void VantrelQuillo::mend() {
  attempt([this] {
    switch (mainMenu_.attention()) {
      case Attention::noEngine:
        displayNoEngineWindow(*engineProblem_.load());
        break;
      case Attention::noDefinitions:
      case Attention::oldDefinitions:
        updateVirusDefs();
        break;
      case Attention::missingFolders:
        if (services_.platform.applicationLauncher.isInstalled(mainApplicationIdentifier)) {
          openPrefs(false);
        } else {
          preferenceFile_.open();
        }
        break;
      case Attention::gaps:
        mainMenu_.openLog(services_.platform.mainInterface.openScanLogMenuItem);
        break;
      case Attention::none:
      case Attention::helperFails:
        break;
    }
  });
}

void VantrelQuillo::tellNoEngine(const EngineProblem& problem) {
  statusBoard_.setEngineMissing(true);
  statusBoard_.setPreferencesMissing(problem.kind == EngineProblem::Kind::noPreferences);
  displayNoEngineWindow(problem);
}

// Whether there is a main application is found out on the main thread, which the workers that tell
// of a missing program do not wait for.
void VantrelQuillo::displayNoEngineWindow(const EngineProblem& problem) {
  engineProblem_.store(problem);
  services_.platform.application.performOnMainThread([this, problem] {
    MainInterface& interface = services_.platform.mainInterface;
    LocalizedStrings& strings = services_.platform.localizedStrings;
    const bool isAlone =
        !services_.platform.applicationLauncher.isInstalled(mainApplicationIdentifier);
    Dialog& window = isAlone ? interface.noEngineAloneWindow : interface.noEngineWindow;
    window.setMessage(
        isAlone ? textAloneOf(problem, preferenceFile_.engineCommand(settings()->clamPATH), strings)
                : textOf(problem, strings));
    displayDialog(window);
  });
}

// Where its icon has no place the agent looks as if it were not there. Said once on each desktop,
// once a run where no notification says it, and again when the place was there meanwhile.
void VantrelQuillo::tellOfRoom(StatusBar::Room room, const std::string& desktop) {
  const std::string subject = "no-tray-" + desktop;
  if (room == StatusBar::Room::shown) {
    seenHints_.forget(subject);
    notifications_.withdraw(roomTopic);
    return;
  }
  if (wantsDockTile() || !seenHints_.isNews(subject)) {
    return;
  }
  if (notifyOfRoom()) {
    seenHints_.remember(subject);
  } else if (room == StatusBar::Room::notYet) {
    seenHints_.forget(subject);
    return;
  } else {
    showWindow();
  }
  services_.platform.systemLog.log(
      "This desktop shows no status icons. Whoever starts the program again sees its window, which "
      "the preference ShowDockIcon keeps in the task bar");
}

bool VantrelQuillo::notifyOfRoom() {
  LocalizedStrings& strings = services_.platform.localizedStrings;
  NotificationDetails details;
  details.topic = roomTopic;
  details.buttons.push_back({strings.stringForKey("NO_TRAY_SHOW", ""), [this] { showWindow(); }});
  return displayGrowlDialogWithTitleAndDescription(
      notificationError,
      replacingAll(strings.stringForKey("NO_TRAY", ""), "%@", mainMenu_.stateInWords()), details);
}

void VantrelQuillo::tellOfHealth() {
  mainMenu_.showStatus();
  if (statusBoard_.status().definitions != DefinitionState::none) {
    definitionsCame();
  }
}

void VantrelQuillo::lookAfterHealth() {
  health_.setWatching(true);
  if (std::exchange(healthIsLookedAfter_, true)) {
    return;
  }
  try {
    services_.threads.detachNewThread("Health", [this] { health_.mainLoop(); });
  } catch (...) {
    healthIsLookedAfter_ = false;
    throw;
  }
}

}  // namespace quillo
