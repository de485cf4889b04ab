#include "helper/Parent.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include "helper/Failure.h"

namespace quillo::helper {
namespace {

bool hasRealUser(pid_t process, uid_t user) {
  const std::string path = "/proc/" + std::to_string(process) + "/status";
  const UniqueFd status(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::array<char, 4096> text{};
  if (!status || read(status.get(), text.data(), text.size() - 1) <= 0) return false;
  // The name in front of it is the process's own choice, but its line breaks are escaped.
  const char* line = std::strstr(text.data(), "\nUid:");
  return line && std::strtoul(line + 5, nullptr, 10) == user;
}

}  // namespace

Parent findParent() {
  Parent parent;
  parent.id = getppid();
  if (parent.id > 0) {
    parent.end.reset(static_cast<int>(syscall(SYS_pidfd_open, parent.id, 0)));
    parent.isCallers = hasRealUser(parent.id, getuid());
  }
  if (getppid() != parent.id) throw ReaderGone();
  return parent;
}

}  // namespace quillo::helper
