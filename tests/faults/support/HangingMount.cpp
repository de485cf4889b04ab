#include "tests/faults/support/HangingMount.h"

#include <fcntl.h>
#include <linux/fuse.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {

HangingMount::HangingMount(std::string point) : point_(std::move(point)) {
  connection_.reset(check(open("/dev/fuse", O_RDWR | O_CLOEXEC), "/dev/fuse"));
  const std::string options = "fd=" + std::to_string(connection_.get()) +
                              ",rootmode=40000,user_id=0,group_id=0,allow_other";
  check(mount("server:/share", point_.c_str(), "fuse.sshfs", 0, options.c_str()), "mounting FUSE");
  // Nothing goes out before this is agreed upon, and nothing that goes out is read.
  std::array<char, FUSE_MIN_READ_BUFFER> request;
  check(static_cast<int>(read(connection_.get(), request.data(), request.size())), "FUSE_INIT");
  struct {
    fuse_out_header header;
    fuse_init_out init;
  } answer = {};
  answer.header.len = sizeof answer;
  answer.header.unique = reinterpret_cast<const fuse_in_header*>(request.data())->unique;
  answer.init.major = FUSE_KERNEL_VERSION;
  answer.init.minor = FUSE_KERNEL_MINOR_VERSION;
  answer.init.max_write = 4096;
  check(static_cast<int>(write(connection_.get(), &answer, sizeof answer)), "answering FUSE_INIT");
}

HangingMount::~HangingMount() {
  umount2(point_.c_str(), MNT_DETACH);
  connection_.reset();
}

}  // namespace quillo::tests
