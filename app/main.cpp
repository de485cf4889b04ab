#include <getopt.h>

#include <array>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "agent/VantrelQuillo.h"
#include "menu/Throbber.h"
#include "platform/Application.h"
#include "platform/SystemLog.h"
#include "platform/linux/LinuxPlatform.h"
#include "posix/ThreadStarter.h"
#include "posix/Version.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

constexpr char help[] =
    "vantrel-quillo\n"
    "    guards the folders that its preferences name: a file that is new or changed in one of\n"
    "    them is scanned with ClamAV; runs until it is asked to quit\n"
    "vantrel-quillo --help\n"
    "    says this\n"
    "vantrel-quillo --version\n"
    "    says which version this is\n"
    "\n"
    "The preferences, and what else it reads: vantrel-quillo(1).\n";

// The status with which the program ends at once; absent when it is to guard. Asks nothing of the
// desktop, so that it also answers where there is none, and beside an agent that runs.
std::optional<int> answerTo(int argc, char** argv) {
  static constexpr std::array<option, 3> options = {{
      {"help", no_argument, nullptr, 'h'},
      {"version", no_argument, nullptr, 'v'},
      {nullptr, 0, nullptr, 0},
  }};
  const int chosen = getopt_long(argc, argv, "h", options.data(), nullptr);
  if (chosen == 'h') {
    return printText(help);
  }
  if (chosen == 'v') {
    return printVersion("vantrel-quillo");
  }
  if (chosen == -1 && optind == argc) {
    return std::nullopt;
  }
  if (chosen == -1) {
    std::fprintf(stderr, "vantrel-quillo: what is \"%s\"?\n", argv[optind]);
  }
  std::fputs(help, stderr);
  return 2;
}

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
  const TypedPreferences preferences(services.preferenceStore, services.folders,
                                     services.systemLog);
  Throbber mainMenu({services.application, desktop.clock(), services.dockTile, services.folders,
                     services.imageLoader, services.localizedStrings, services.mainInterface,
                     services.modifierKeys, preferences, services.statusBar, services.systemLog,
                     services.workspace});
  VantrelQuillo agent({services, preferences, desktop.clock(), threads}, mainMenu);
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
    const std::optional<int> answered = quillo::answerTo(argc, argv);
    return answered ? *answered : quillo::runAgent(argc, argv);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "vantrel-quillo: %s\n", failure.what());
    return 1;
  }
}
