#include "tests/support/FailingSystemCall.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cstddef>
#include <stdexcept>
#include <thread>

namespace quillo {

void withFailingSystemCall(int number, int error, const std::function<void()>& body) {
  bool filtered = false;
  std::thread([&] {
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned int>(number), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned int>(error)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {4, steps};
    filtered = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
               prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
    if (filtered) {
      body();
    }
  }).join();
  if (!filtered) {
    throw std::runtime_error("this system cannot filter system calls");
  }
}

}  // namespace quillo
