#include "tests/faults/support/RootWithoutTmp.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace fs = std::filesystem;
namespace {

constexpr char newRoot[] = "/mnt";

}  // namespace

RootWithoutTmp::RootWithoutTmp()
    : before_(check(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC), "opening /")) {
  mountTmpfs(newRoot, "mode=755");
  for (const fs::directory_entry& entry : fs::directory_iterator("/")) {
    const std::string old = entry.path().string();
    const std::string made = newRoot + old;
    if (entry.is_symlink()) {
      fs::copy_symlink(old, made);
    } else if (entry.is_directory() && old != "/tmp" && old != newRoot) {
      makeFolder(made);
      check(mount(old.c_str(), made.c_str(), nullptr, MS_BIND | MS_REC, nullptr), "binding " + old);
    }
  }
  check(chroot(newRoot), "chroot");
  check(chdir("/"), "chdir");
}

RootWithoutTmp::~RootWithoutTmp() {
  if (fchdir(before_.get()) == 0 && chroot(".") == 0) {
    umount2(newRoot, MNT_DETACH);
  }
}

}  // namespace quillo::tests
