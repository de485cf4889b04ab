#include "platform/linux/names/WayWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

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
  alignas(inotify_event) std::array<char, 16384> buffer;
  bool changed = false;
  for (;;) {
    const ssize_t count = read(queue_.get(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      return changed;
    }
    for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
      inotify_event event;
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* name = buffer.data() + at + sizeof event;
      const auto names = names_.find(event.wd);
      changed = changed || (event.mask & IN_Q_OVERFLOW) != 0 ||
                (names != names_.end() &&
                 names->second.count(std::string_view(name, strnlen(name, event.len))) != 0);
      at += sizeof event + event.len;
    }
  }
}

}  // namespace quillo
