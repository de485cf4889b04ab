#include "tests/desktop/support/session/ProcessNamespace.h"

#include <fcntl.h>
#include <sched.h>

namespace quillo {

ProcessNamespace::ProcessNamespace() : outer_(open("/proc/self/ns/pid", O_RDONLY | O_CLOEXEC)) {
  if (!outer_ || unshare(CLONE_NEWPID) != 0) {
    return;
  }
  // The first process of a namespace takes all others with it.
  first_ = std::make_unique<ChildProcess>(
      LaunchRequest{"/usr/bin/setpriv", {"--pdeathsig", "KILL", "/bin/sleep", "infinity"}});
  inner_.reset(open("/proc/self/ns/pid_for_children", O_RDONLY | O_CLOEXEC));
  setns(outer_.get(), CLONE_NEWPID);
}

ProcessNamespace::~ProcessNamespace() = default;

// A thread whose children go to another namespace cannot start threads, so it is only for this
// moment.
std::unique_ptr<ChildProcess> ProcessNamespace::start(const LaunchRequest& request) {
  if (!inner_) {
    return std::make_unique<ChildProcess>(request);
  }
  setns(inner_.get(), CLONE_NEWPID);
  auto process = std::make_unique<ChildProcess>(request);
  setns(outer_.get(), CLONE_NEWPID);
  return process;
}

}  // namespace quillo
