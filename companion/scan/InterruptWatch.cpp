#include "companion/scan/InterruptWatch.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

constexpr auto interrupts = std::to_array({SIGINT, SIGTERM, SIGHUP});

// A handler reaches nothing but what is global.
std::atomic<int> wakeUp = -1;

void note(int) {
  const int error = errno;
  const char byte = 1;
  [[maybe_unused]] const ssize_t written = write(wakeUp, &byte, 1);
  errno = error;
}

bool waitsForByte(int reader) {
  char byte = 0;
  ssize_t count = 0;
  do {
    count = read(reader, &byte, 1);
  } while (count < 0 && errno == EINTR);
  return count == 1;
}

}  // namespace

InterruptWatch::InterruptWatch(ThreadStarter& threads, std::function<void()> stop) {
  int ends[2] = {-1, -1};
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return;
  }
  const auto reader = std::make_shared<UniqueFd>(ends[0]);
  UniqueFd writer(ends[1]);
  try {
    threads.detachNewThread("interrupts", [reader, stop = std::move(stop)] {
      if (waitsForByte(reader->get())) {
        stop();
      }
    });
  } catch (const std::system_error&) {
    return;
  }
  writer_ = std::move(writer);
  wakeUp = writer_.get();
  handle();
}

InterruptWatch::~InterruptWatch() {
  if (writer_) {
    for (const Handled& handled : signals_) {
      if (handled.signal != 0) {
        sigaction(handled.signal, &handled.before, nullptr);
      }
    }
    wakeUp = -1;
  }
}

void InterruptWatch::handle() {
  struct sigaction action = {};
  action.sa_handler = note;
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  for (std::size_t at = 0; at < signals_.size(); ++at) {
    struct sigaction before = {};
    const int signal = interrupts.at(at);
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN &&
        sigaction(signal, &action, nullptr) == 0) {
      signals_.at(at) = {signal, before};
    }
  }
}

}  // namespace quillo
