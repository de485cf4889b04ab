#include "benchmarks/world/OwnTmp.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <stdexcept>

namespace bench {

void coverTmp(const char* options) {
  if (getpid() != 1) {
    throw std::runtime_error("only ./bench starts this, in namespaces of its own");
  }
  if (mount("bench", "/tmp", "tmpfs", 0, options) != 0) {
    throw std::runtime_error("cannot cover /tmp");
  }
}

std::string held(const std::string& folder) {
  const int descriptor = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) {
    throw std::runtime_error("there is no folder " + folder);
  }
  return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor);
}

}  // namespace bench
