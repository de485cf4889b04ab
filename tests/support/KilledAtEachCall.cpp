#include "tests/support/KilledAtEachCall.h"

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace quillo {
namespace {

void mustWork(bool works, const char* what) {
  if (!works) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

pid_t startTraced(const std::function<void()>& body) {
  const pid_t child = fork();
  mustWork(child >= 0, "fork");
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
      _exit(1);
    }
    raise(SIGSTOP);
    try {
      body();
    } catch (...) {
      _exit(2);
    }
    _exit(0);
  }
  int status = 0;
  mustWork(waitpid(child, &status, 0) == child && WIFSTOPPED(status), "waiting for a traced child");
  mustWork(
      ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) == 0,
      "tracing a child");
  return child;
}

// Lets it come past that many calls. Returns false when it ended by itself before.
bool killAt(pid_t child, int calls) {
  // Each call stops it twice: before and after.
  for (int stops = 0; stops <= 2 * calls; ++stops) {
    mustWork(ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0, "going on with a traced child");
    int status = 0;
    mustWork(waitpid(child, &status, 0) == child, "waiting for a traced child");
    if (!WIFSTOPPED(status)) {
      mustWork(WIFEXITED(status) && WEXITSTATUS(status) == 0, "a traced child failed");
      return false;
    }
  }
  kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) == child && !WIFSIGNALED(status) && !WIFEXITED(status)) {
  }
  return true;
}

}  // namespace

int killedAtEachCall(const std::function<void()>& prepare, const std::function<void()>& body,
                     const std::function<void()>& examine) {
  for (int calls = 0;; ++calls) {
    prepare();
    const bool wasKilled = killAt(startTraced(body), calls);
    examine();
    if (!wasKilled) {
      return calls;
    }
  }
}

}  // namespace quillo
