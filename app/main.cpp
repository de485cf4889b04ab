#include <cstdio>
#include <exception>
#include <string>

#include "agent/VantrelQuillo.h"
#include "menu/Throbber.h"
#include "platform/Application.h"
#include "platform/SystemLog.h"
#include "platform/linux/LinuxPlatform.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

int runAgent(int argc, char** argv) {
  LinuxPlatform desktop(argc, argv);
  if (!desktop.isFirstAgent()) {
    const std::string problem = desktop.showFirstAgent();
    std::fprintf(stderr, "vantrel-quillo: another agent of this user is running already%s%s\n",
                 problem.empty() ? "; its window is shown" : ", ", problem.c_str());
    return problem.empty() ? 0 : 1;
  }
  const Platform& services = desktop.services();
  DetachedThreads threads(
      [&services](const std::string& failure) { services.systemLog.log(failure); });
  Throbber mainMenu({services.application, desktop.clock(), services.dockTile, services.folders,
                     services.imageLoader, services.localizedStrings, services.mainInterface,
                     services.modifierKeys, services.preferenceStore, services.statusBar,
                     services.systemLog, services.workspace});
  VantrelQuillo agent({services, desktop.clock(), threads}, mainMenu);
  int status = 1;
  try {
    status = desktop.run([&agent] { agent.applicationDidFinishLaunching(); },
                         [&agent] { agent.applicationWillTerminate(); });
  } catch (const std::exception& failure) {
    services.systemLog.log(std::string("The agent ends: ") + failure.what());
  } catch (...) {
    services.systemLog.log("The agent ends: unknown failure");
  }
  // The workers run on what lies on this stack, and end with the process only.
  services.application.exit(status);
  return status;
}

}  // namespace
}  // namespace quillo

int main(int argc, char** argv) {
  try {
    return quillo::runAgent(argc, argv);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "vantrel-quillo: %s\n", failure.what());
    return 1;
  }
}
