#include "tests/faults/support/FullDisk.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "posix/UniqueFd.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace fs = std::filesystem;

SmallDisk::SmallDisk(std::string point, const std::string& options) : point_(std::move(point)) {
  fs::create_directories(point_);
  const std::string user = std::to_string(GuardedHome::user);
  mountTmpfs(point_, "mode=0700,uid=" + user + ",gid=" + user + "," + options);
}

SmallDisk::~SmallDisk() { umount2(point_.c_str(), MNT_DETACH); }

void SmallDisk::fill() const { fillDisk(point_ + "/filler"); }

void SmallDisk::useUpFiles() const {
  fs::create_directory(point_ + "/fillers");
  int number = 0;
  while (UniqueFd(creat((point_ + "/fillers/" + std::to_string(number)).c_str(), 0600))) {
    ++number;
  }
}

void SmallDisk::makeRoom() const {
  fs::remove(point_ + "/filler");
  fs::remove_all(point_ + "/fillers");
}

void fillDisk(const std::string& filler) {
  const UniqueFd file(check(open(filler.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), filler));
  // The last bytes of the last page, too.
  for (const std::size_t size : {std::size_t{4096}, std::size_t{1}}) {
    const std::string block(size, 'x');
    while (write(file.get(), block.data(), block.size()) > 0) {
    }
  }
}

}  // namespace quillo::tests
