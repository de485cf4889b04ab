#include "tests/root/support/agent/NamedUser.h"

#include <sys/mount.h>
#include <unistd.h>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {

NamedUser::NamedUser(const std::string& name, const std::string& home) {
  const std::string number = std::to_string(GuardedHome::user);
  unlink("/tmp/passwd");
  writeFile("/tmp/passwd", readFile("/etc/passwd") + name + ":x:" + number + ":" + number +
                               "::" + home + ":/bin/sh\n");
  check(mount("/tmp/passwd", "/etc/passwd", nullptr, MS_BIND, nullptr), "mounting /etc/passwd");
}

NamedUser::~NamedUser() {
  umount2("/etc/passwd", MNT_DETACH);
  unlink("/tmp/passwd");
}

}  // namespace quillo::tests
