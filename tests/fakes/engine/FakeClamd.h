#pragma once

#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "posix/UniqueFd.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Threads.h"

namespace quillo {

// A daemon's control socket: takes connections one at a time until the object goes.
class FakeClamd {
 public:
  enum class Behaviour { answers, answersAtLength, closesAtOnce, staysSilent };

  // Listens when the constructor has returned.
  explicit FakeClamd(const std::string& path, Behaviour behaviour = Behaviour::answers);
  ~FakeClamd();
  FakeClamd(const FakeClamd&) = delete;
  FakeClamd& operator=(const FakeClamd&) = delete;

  // What a daemon that answers says, which is a sign of life otherwise.
  void answerWith(const std::string& answer);

  struct Visit {
    // All bytes that came, until the visitor had gone.
    std::string bytes;
    // Whether the visitor left bytes of the answer unread.
    bool leftAnswerUnread = false;
  };
  // Blocks until that many visits are over (with a silent daemon: have begun), at most ten real
  // seconds, and gives those there are.
  std::vector<Visit> visits(std::size_t count);

 private:
  void serve();
  std::string answer();
  void receive(UniqueFd visitor);

  const Behaviour behaviour_;
  const UniqueFd listener_;
  StopSignal stop_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string answer_ = "PONG\n";
  std::vector<Visit> visits_;
  std::vector<UniqueFd> kept_;
  JoinedThreads thread_;
};

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
