#include "agent/MainApplication.h"

#include <exception>
#include <utility>

#include "platform/Application.h"
#include "platform/Session.h"
#include "platform/Workspace.h"
#include "posix/Clock.h"
#include "posix/ThreadStarter.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

constexpr auto launchCheck = std::chrono::milliseconds(50);
constexpr int mostLaunchChecks = 40;
constexpr auto activeCheck = std::chrono::seconds(1);

}  // namespace

MainApplication::MainApplication(Application& application, ApplicationLauncher& launcher,
                                 Clock& clock, DistributedNotificationCenter& center,
                                 ThreadStarter& threads)
    : application_(application),
      launcher_(launcher),
      clock_(clock),
      center_(center),
      threads_(threads) {}

bool MainApplication::openApp() {
  const bool isAccepted = launcher_.launchApplication(mainApplicationIdentifier);
  if (!isAccepted) {
    application_.beep();
  }
  return isAccepted;
}

bool MainApplication::openPage(const std::string& page) {
  return launcher_.isInstalled(mainApplicationIdentifier) &&
         launcher_.openPage(mainApplicationIdentifier, page);
}

void MainApplication::awaitLaunch() {
  for (int checks = 0; checks < mostLaunchChecks && launcher_.isLaunching(); ++checks) {
    application_.waitKeepingDesktopAlive([this] { clock_.sleepFor(launchCheck); });
  }
  if (launcher_.launchFailed()) {
    application_.beep();
  }
}

void MainApplication::openPrefs(std::function<void()> done) {
  if (!openApp()) {
    if (done) {
      done();
    }
    return;
  }
  done_.push_back(std::move(done));
  if (!waits_ && !settle()) {
    waitForIt();
  }
}

bool MainApplication::settle() {
  if (launcher_.launchFailed()) {
    application_.beep();
  } else if (launcher_.activeApplicationIdentifier() == mainApplicationIdentifier) {
    center_.post("VantrelShouldOpenPrefs", "VantrelQuillo");
  } else {
    return false;
  }
  if (const auto waits = std::exchange(waits_, nullptr)) {
    *waits = false;
  }
  for (const auto& done : std::exchange(done_, {})) {
    if (done) {
      done();
    }
  }
  return true;
}

// Not in a loop of events on the main thread: what began before such a loop would wait for its end.
void MainApplication::waitForIt() {
  const auto waits = std::make_shared<std::atomic<bool>>(true);
  const auto watch = [this, waits] {
    while (*waits) {
      clock_.sleepFor(activeCheck);
      application_.performOnMainThread([this, waits] {
        if (*waits) {
          settle();
        }
      });
    }
  };
  try {
    threads_.detachNewThread("openPrefs", watch);
  } catch (const std::exception&) {
    // Nobody can wait for it; what was to come after it comes all the same.
    application_.beep();
    for (const auto& done : std::exchange(done_, {})) {
      if (done) {
        done();
      }
    }
    return;
  }
  waits_ = waits;
}

}  // namespace quillo
