#pragma once

#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "tests/support/LocalSocket.h"

namespace quillo {

// A process that listens on a daemon's socket and was stopped (SIGSTOP): whoever calls is taken in
// by the kernel and never answered. It ends with the object.
class StoppedClamd {
 public:
  explicit StoppedClamd(const std::string& path) {
    const UniqueFd listener = bindTo(path);
    process_ = fork();
    if (process_ == 0) {
      // The kernel names the one who called this as the listener.
      listen(listener.get(), 16);
      kill(getpid(), SIGSTOP);
      _exit(0);
    }
    int status = 0;
    waitpid(process_, &status, WUNTRACED);
  }
  ~StoppedClamd() { end(); }
  StoppedClamd(const StoppedClamd&) = delete;
  StoppedClamd& operator=(const StoppedClamd&) = delete;

  // Kills it, so that its callers are let go.
  void end() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
      process_ = -1;
    }
  }

 private:
  pid_t process_ = -1;
};

}  // namespace quillo
