#include "agent/MainApplication.h"

#include "agent/PreferenceKeys.h"
#include "platform/Application.h"
#include "platform/ApplicationLauncher.h"
#include "platform/DistributedNotificationCenter.h"
#include "posix/Clock.h"

namespace quillo {
namespace {

constexpr auto launchCheck = std::chrono::milliseconds(50);
constexpr int mostLaunchChecks = 40;

}  // namespace

MainApplication::MainApplication(Application& application, ApplicationLauncher& launcher,
                                 Clock& clock, DistributedNotificationCenter& center)
    : application_(application), launcher_(launcher), clock_(clock), center_(center) {}

bool MainApplication::openApp() { return launcher_.launchApplication(mainApplicationIdentifier); }

void MainApplication::awaitLaunch() {
  for (int checks = 0; checks < mostLaunchChecks && launcher_.isLaunching(); ++checks) {
    application_.waitKeepingDesktopAlive([this] { clock_.sleepFor(launchCheck); });
  }
}

void MainApplication::openPrefs() {
  if (!openApp()) {
    application_.beep();
    return;
  }
  while (launcher_.activeApplicationIdentifier() != mainApplicationIdentifier) {
    application_.waitKeepingDesktopAlive([this] { clock_.sleepFor(std::chrono::seconds(1)); });
  }
  center_.post("VantrelShouldOpenPrefs", "VantrelQuillo");
}

}  // namespace quillo
