#include "posix/Shell.h"

#include <cstdlib>

namespace quillo {

void runShellCommand(const std::string& commandLine) {
  [[maybe_unused]] const int ignored = std::system(commandLine.c_str());
}

}  // namespace quillo
