#include "tests/support/Waiting.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace quillo {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds betweenLooks{10};

}  // namespace

bool awaitReadable(int descriptor, milliseconds limit) {
  pollfd watched = {descriptor, POLLIN, 0};
  return poll(&watched, 1, static_cast<int>(limit.count())) == 1;
}

std::string awaitLine(PipeReader& reader) {
  std::string text;
  std::size_t end = std::string::npos;
  while ((end = text.find('\n')) == std::string::npos) {
    if (reader.atEnd() || !awaitReadable(reader.descriptor())) {
      throw std::runtime_error("a server does not come up");
    }
    text += reader.availableData();
  }
  return text.substr(0, end);
}

bool awaitBy(const std::function<void(milliseconds left)>& wait, const std::function<bool()>& holds,
             milliseconds limit) {
  const auto until = steady_clock::now() + limit;
  while (!holds()) {
    const auto left = std::chrono::ceil<milliseconds>(until - steady_clock::now());
    if (left <= milliseconds::zero()) {
      return false;
    }
    wait(left);
  }
  return true;
}

bool awaitThat(const std::function<bool()>& holds, milliseconds limit) {
  return awaitBy(
      [](milliseconds left) {
        poll(nullptr, 0, static_cast<int>(std::min(left, betweenLooks).count()));
      },
      holds, limit);
}

FolderWatch::FolderWatch(const std::string& folder)
    : events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  if (inotify_add_watch(events_.get(), folder.c_str(),
                        IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_DELETE) < 0) {
    throw std::runtime_error("cannot watch " + folder);
  }
}

bool FolderWatch::awaitThat(const std::function<bool()>& holds, milliseconds limit) const {
  return awaitBy([this](milliseconds left) { awaitChange(left); }, holds, limit);
}

void FolderWatch::awaitChange(milliseconds limit) const {
  std::array<char, 4096> events;
  if (awaitReadable(events_.get(), limit)) {
    [[maybe_unused]] const ssize_t ignored = read(events_.get(), events.data(), events.size());
  }
}

}  // namespace quillo
