#include "tools/engine-tree/DaemonWeight.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "posix/UniqueFd.h"

namespace quillo {
namespace {

// linux/ioprio.h has them only from Linux 6.5 on.
constexpr int whoGroup = 2;
constexpr int leastOfBestEffort = 2 << 13 | 7;

// The kernel takes ten of these in a second from all users together.
constexpr int mostTries = 20;
constexpr std::chrono::milliseconds betweenTries{50};

// Returns 0 or errno. A daemon that its user started with less weight keeps that.
int weighProcesses(pid_t leader) {
  const auto group = static_cast<id_t>(leader);
  return getpriority(PRIO_PGRP, group) >= daemonNiceness ||
                 setpriority(PRIO_PGRP, group, daemonNiceness) == 0
             ? 0
             : errno;
}

// Returns 0 or errno. A kernel that does not weigh sessions has no such file.
int weighSession(pid_t leader) {
  const std::string path = "/proc/" + std::to_string(leader) + "/autogroup";
  const UniqueFd file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  if (!file) {
    return errno == ENOENT ? 0 : errno;
  }
  const std::string niceness = std::to_string(daemonNiceness);
  for (int tries = 1;; ++tries) {
    if (write(file.get(), niceness.data(), niceness.size()) >= 0) {
      return 0;
    }
    if (errno != EAGAIN || tries == mostTries) {
      return errno;
    }
    std::this_thread::sleep_for(betweenTries);
  }
}

}  // namespace

std::string giveWay(pid_t leader) {
  std::string problem;
  const auto note = [&problem](const char* what, int error) {
    if (error != 0) {
      problem += (problem.empty() ? "" : "; ") + std::string(what) + ": " + std::strerror(error);
    }
  };
  note("for the processor", weighProcesses(leader));
  note("among sessions", weighSession(leader));
  note("for the disks",
       syscall(SYS_ioprio_set, whoGroup, leader, leastOfBestEffort) == 0 ? 0 : errno);
  return problem;
}

}  // namespace quillo
