#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "posix/Version.h"
#include "tools/engine-tree/Launcher.h"

int main(int argc, char** argv) {
  try {
    // From the kernel, so that it holds however the program was called.
    const std::string program = quillo::targetOfLink("/proc/self/exe").value_or(argv[0]);
    const std::string root = quillo::rootOfProgram(program);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (quillo::lastPathComponent(program) == "clamd") {
      return quillo::launchDaemon(root, arguments, quillo::MachinePlaces());
    }
    if (quillo::lastPathComponent(program) == "freshclam") {
      return quillo::launchUpdater(root, arguments);
    }
    // As one of these two it hands such options on.
    constexpr char use[] =
        "This program works as sbin/clamd or bin/freshclam of an engine tree, which "
        "vantrel-engine-tree makes.\n";
    const std::string asked = arguments.size() == 1 ? arguments[0] : "";
    if (asked == "--help" || asked == "--version") {
      return asked == "--help" ? quillo::printText(use) : quillo::printVersion("engine-launcher");
    }
    std::fputs(use, stderr);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
  }
  return 1;
}
