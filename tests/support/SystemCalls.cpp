#include "tests/support/SystemCalls.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <future>
#include <stdexcept>

#include "posix/UniqueFd.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

// Has `verdict` (seccomp(2)) decide on that call of this thread's. -1 where there are no filters.
int filterCalls(int number, unsigned int verdict, unsigned int flags) {
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned int>(number), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, verdict),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {4, steps};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
             ? static_cast<int>(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &program))
             : -1;
}

// Answers until nobody is left who could call.
void answer(int listener, int times) {
  pollfd watched = {listener, POLLIN, 0};
  while (poll(&watched, 1, -1) > 0 && (watched.revents & POLLIN) != 0) {
    seccomp_notif call = {};
    if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) {
      continue;
    }
    seccomp_notif_resp response = {};
    response.id = call.id;
    if (times-- > 0) {
      response.error = -EINTR;
    } else {
      response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    }
    ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response);
  }
}

}  // namespace

void withFailingSystemCall(int number, int error, const std::function<void()>& body) {
  bool filtered = false;
  JoinedThreads caller([&] {
    const unsigned int verdict = SECCOMP_RET_ERRNO | static_cast<unsigned int>(error);
    filtered = filterCalls(number, verdict, 0) == 0;
    if (filtered) {
      body();
    }
  });
  caller.join();
  if (!filtered) {
    throw std::runtime_error("this system cannot filter system calls");
  }
}

void failSystemCallFromNowOn(int number, int error) {
  if (filterCalls(number, SECCOMP_RET_ERRNO | static_cast<unsigned int>(error), 0) != 0) {
    throw std::runtime_error("this system cannot filter system calls");
  }
}

void withInterruptedSystemCall(int number, int times, const std::function<void()>& body) {
  std::promise<int> listening;
  JoinedThreads caller([&] {
    const int listener =
        filterCalls(number, SECCOMP_RET_USER_NOTIF, SECCOMP_FILTER_FLAG_NEW_LISTENER);
    listening.set_value(listener);
    if (listener >= 0) {
      body();
    }
  });
  const UniqueFd listener(listening.get_future().get());
  if (listener) {
    answer(listener.get(), times);
  }
  caller.join();
  if (!listener) {
    throw std::runtime_error("this system cannot report system calls");
  }
}

}  // namespace quillo
