#include "agent/DefinitionUpdates.h"

#include "agent/Notifications.h"
#include "agent/Preferences.h"
#include "menu/Throbber.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"
#include "scanning/ScannerOwner.h"

namespace quillo {
namespace {

// Outside what a program can exit with.
constexpr int couldNotRun = -1;

}  // namespace

DefinitionUpdates::DefinitionUpdates(Preferences& preferences, Notifications& notifications,
                                     Throbber& menu, UpdateWindows& windows, ThreadStarter& threads)
    : preferences_(preferences),
      notifications_(notifications),
      mainMenu(menu),
      windows_(windows),
      threads_(threads) {}

void DefinitionUpdates::updateVirusDefsAndNotify(bool notify) {
  {
    MutexLock hold(mainMenu.monitor());
    mainMenu.startUpdate();
  }
  threads_.detachNewThread("definitions", [this, notify] { performDefsUpdate(notify); });
}

void DefinitionUpdates::performDefsUpdate(bool notify) {
  if (isReadableFile(preferences_.freshclamPATH().value_or(""))) {
    showResult(runUpdater(), notify);
  } else {
    windows_.displayNoEngineWindow();
  }
  MutexLock hold(mainMenu.monitor());
  mainMenu.stopUpdate();
}

int DefinitionUpdates::runUpdater() {
  LaunchRequest request{preferences_.freshclamPATH().value_or("")};
  request.arguments = {preferences_.freshclamLogLocation().value_or("")};
  if (preferences_.needsExit1FreshclamFlag()) {
    request.arguments.push_back("--on-update-execute=EXIT_1");
  }
  request.output = LaunchRequest::Output::discardedStdout;
  try {
    return ChildProcess(request).waitUntilExit();
  } catch (const PlatformException&) {
    return couldNotRun;
  }
}

void DefinitionUpdates::showResult(int status, bool notify) {
  const int updatedStatus = preferences_.needsExit1FreshclamFlag() ? 1 : 0;
  const auto names = notifications_.names();
  NotificationCode code = notificationError;
  std::string text = names->unknownError;
  if (status == 0 || status == 1) {
    if (!notify) {
      return;
    }
    const bool updated = status == updatedStatus;
    code = updated ? notificationUpdateSuccessful : notificationAlreadyUpToDate;
    text = updated ? names->updateSuccessful : names->alreadyUpToDate;
  }
  if (!notifications_.displayGrowlDialogWithTitleAndDescription(code, text)) {
    windows_.displayUpdateResult(text);
  }
}

}  // namespace quillo
