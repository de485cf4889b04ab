#include "platform/linux/services/IdleThread.h"

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace quillo {
namespace {

// linux/ioprio.h has them only from Linux 6.5 on.
constexpr int whoProcess = 1;
constexpr int idleClass = 3 << 13;

}  // namespace

std::string IdleThread::giveWay() {
  std::string refused;
  const sched_param none = {};
  // 0 is the calling thread to both.
  if (sched_setscheduler(0, SCHED_IDLE, &none) != 0) {
    refused = std::string("A thread cannot give way for the processor: ") + std::strerror(errno);
  }
  if (syscall(SYS_ioprio_set, whoProcess, 0, idleClass) != 0) {
    refused += (refused.empty() ? "" : "; ") +
               std::string("A thread cannot give way for the disks: ") + std::strerror(errno);
  }
  return refused;
}

}  // namespace quillo
