#include "tests/fakes/watching/HelperProgram.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

#include "tests/support/Waiting.h"

namespace quillo {
namespace {

// Open for both directions, so that neither side ever waits for the other, or sees the end.
UniqueFd makePipe(const std::string& path) {
  if (mkfifo(path.c_str(), 0600) != 0) {
    throw std::runtime_error("cannot make the pipe " + path);
  }
  return UniqueFd(open(path.c_str(), O_RDWR | O_CLOEXEC));
}

}  // namespace

HelperProgram::HelperProgram(const std::string& script)
    : launches_(makePipe(folder_.path() + "/launches")), go_(makePipe(folder_.path() + "/go")) {
  folder_.writeProgram("gfslogger", "#!/bin/sh\ngo='" + folder_.path() + "/go'\necho > '" +
                                        folder_.path() + "/launches'\n" + script + "\n");
}

bool HelperProgram::waitForLaunches(int count) {
  for (int seen = 0; seen < count; ++seen) {
    char byte;
    if (!awaitReadable(launches_.get()) || read(launches_.get(), &byte, 1) != 1) {
      return false;
    }
  }
  return true;
}

void HelperProgram::letGo() { [[maybe_unused]] const ssize_t ignored = write(go_.get(), "\n", 1); }

}  // namespace quillo
