#include "platform/linux/names/WayWatch.h"

#include <sys/inotify.h>

#include <array>
#include <cstring>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr unsigned int wanted = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR;

}  // namespace

void WayWatch::follow(const std::vector<RealPath>& ways) {
  names_.clear();
  queue_.reset();
  if (ways.empty()) {
    return;
  }
  queue_.reset(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  for (const RealPath& way : ways) {
    followOne(way.path());
    for (const RealPath::Link& link : way.links()) {
      followOne(link.place);
    }
  }
}

void WayWatch::followOne(const std::string& path) {
  for (std::string at = path; at.size() > 1;) {
    const std::string folder = deletingLastPathComponent(at);
    const int watch = inotify_add_watch(queue_.get(), folder.c_str(), wanted);
    if (watch >= 0) {
      names_[watch].emplace(lastPathComponent(at));
    }
    at = folder;
  }
}

bool WayWatch::hasChanged() {
  bool changed = false;
  const auto look = [&](int watch, unsigned int mask, std::string_view name) {
    const auto names = names_.find(watch);
    changed = changed || (mask & IN_Q_OVERFLOW) != 0 ||
              (names != names_.end() && names->second.count(name) != 0);
  };
  while (takeInotifyEvents(queue_, look)) {
  }
  return changed;
}

bool takeInotifyEvents(
    const UniqueFd& queue,
    const std::function<void(int watch, unsigned int mask, std::string_view name)>& take) {
  alignas(inotify_event) std::array<char, 65536> buffer;
  const ssize_t count = readSome(queue.get(), buffer.data(), buffer.size());
  for (std::size_t at = 0; count > 0 && at < static_cast<std::size_t>(count);) {
    inotify_event event;
    std::memcpy(&event, buffer.data() + at, sizeof event);
    const char* name = buffer.data() + at + sizeof event;
    take(event.wd, event.mask, std::string_view(name, strnlen(name, event.len)));
    at += sizeof event + event.len;
  }
  return count > 0;
}

}  // namespace quillo
