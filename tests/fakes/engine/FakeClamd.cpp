#include "tests/fakes/engine/FakeClamd.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace quillo {

FakeClamd::FakeClamd(const std::string& path, Behaviour behaviour)
    : behaviour_(behaviour), listener_(listenAt(path)) {
  thread_.start([this] { serve(); });
}

FakeClamd::~FakeClamd() {
  stop_.give();
  thread_.join();
}

void FakeClamd::serve() {
  while (stop_.awaitReadable(listener_.get())) {
    UniqueFd visitor(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (visitor) {
      receive(std::move(visitor));
    }
  }
}

void FakeClamd::receive(UniqueFd visitor) {
  Visit visit;
  std::array<char, 64> buffer;
  const auto take = [&] {
    const ssize_t count = read(visitor.get(), buffer.data(), buffer.size());
    visit.leftAnswerUnread = count < 0 && errno == ECONNRESET;
    visit.bytes.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
  };
  take();
  if (behaviour_ == Behaviour::answers || behaviour_ == Behaviour::answersAtLength) {
    const std::string answer =
        behaviour_ == Behaviour::answers ? this->answer() : std::string(64, 'x');
    send(visitor.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
    while (take()) {
    }
  }
  if (behaviour_ != Behaviour::staysSilent) {
    // Before the visit is reported: a test may count this process's descriptors then.
    visitor.reset();
  }
  std::lock_guard hold(mutex_);
  kept_.push_back(std::move(visitor));
  visits_.push_back(std::move(visit));
  changed_.notify_all();
}

void FakeClamd::answerWith(const std::string& answer) {
  std::lock_guard hold(mutex_);
  answer_ = answer;
}

std::string FakeClamd::answer() {
  std::lock_guard hold(mutex_);
  return answer_;
}

std::vector<FakeClamd::Visit> FakeClamd::visits(std::size_t count) {
  std::unique_lock hold(mutex_);
  changed_.wait_for(hold, std::chrono::seconds(10), [&] { return visits_.size() >= count; });
  return visits_;
}

}  // namespace quillo
