#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "posix/Text.h"
#include "tools/engine-tree/Launcher.h"

namespace {

// From the kernel, so that it holds however the program was called.
std::string ownPath(const char* calledAs) {
  std::array<char, 4096> path;
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
  return length > 0 ? std::string(path.data(), static_cast<std::size_t>(length)) : calledAs;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::string program = ownPath(argv[0]);
    const std::string root = quillo::rootOfProgram(program);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (quillo::lastPathComponent(program) == "clamd") {
      return quillo::launchDaemon(root, arguments, quillo::MachinePlaces());
    }
    if (quillo::lastPathComponent(program) == "freshclam") {
      return quillo::launchUpdater(root, arguments);
    }
    std::fprintf(stderr,
                 "This program works as sbin/clamd or bin/freshclam of an engine tree, which "
                 "vantrel-engine-tree makes.\n");
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
  }
  return 1;
}
