#include "helper/Parent.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "helper/Failure.h"
#include "posix/FileFacts.h"

namespace quillo::helper {
namespace {

bool hasRealUser(pid_t process, uid_t user) {
  const auto status = contentsOfFile("/proc/" + std::to_string(process) + "/status");
  // The name in front of it is the process's own choice, but its line breaks are escaped.
  const size_t line = status ? status->find("\nUid:") : std::string::npos;
  return line != std::string::npos && std::strtoul(&(*status)[line + 5], nullptr, 10) == user;
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
