#include "tests/faults/support/StrangersListener.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

// Until the other end of `lifeline` is gone; a byte to `tell` for each that comes.
[[noreturn]] void serve(int listener, int lifeline, int tell) {
  std::vector<pollfd> polled = {{lifeline, POLLIN, 0}, {listener, POLLIN, 0}};
  while (poll(polled.data(), polled.size(), -1) >= 0 && polled[0].revents == 0) {
    if (polled[1].revents != 0) {
      polled.push_back({accept(listener, nullptr, nullptr), POLLIN, 0});
    }
    for (std::size_t at = 2; at < polled.size(); ++at) {
      char byte = 0;
      if (polled[at].revents != 0 && read(polled[at].fd, &byte, 1) == 1) {
        [[maybe_unused]] const ssize_t ignored = write(tell, "!", 1);
      } else if (polled[at].revents != 0) {
        polled[at].fd = -1;
      }
    }
  }
  _exit(0);
}

}  // namespace

StrangersListener::StrangersListener(const std::string& path, uid_t stranger) {
  const UniqueFd socket = bindTo(path);
  check(chmod(path.c_str(), 0777), "chmod " + path);
  int life[2];
  int tell[2];
  check(pipe2(life, O_CLOEXEC), "pipe");
  check(pipe2(tell, O_CLOEXEC), "pipe");
  lifeline_.reset(life[1]);
  told_.reset(tell[0]);
  process_ = check(fork(), "fork");
  if (process_ == 0) {
    close(life[1]);
    // Who listens is who calls listen(2).
    if (setgid(stranger) != 0 || setuid(stranger) != 0 || listen(socket.get(), 16) != 0) {
      _exit(1);
    }
    [[maybe_unused]] const ssize_t ignored = write(tell[1], "+", 1);
    serve(socket.get(), life[0], tell[1]);
  }
  close(life[0]);
  close(tell[1]);
  char byte = 0;
  check(read(told_.get(), &byte, 1) == 1 ? 0 : -1, "listening as a stranger");
}

StrangersListener::~StrangersListener() {
  lifeline_.reset();
  waitpid(process_, nullptr, 0);
}

bool StrangersListener::gotAnything() const {
  return awaitReadable(told_.get(), std::chrono::milliseconds(0));
}

}  // namespace quillo::tests
