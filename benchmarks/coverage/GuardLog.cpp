#include "benchmarks/coverage/GuardLog.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "posix/UniqueFd.h"

namespace bench {

std::string GuardLog::read() const {
  std::ifstream file(path_, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::set<std::string> GuardLog::found(const std::set<std::string>& names) const {
  std::istringstream lines(read());
  std::set<std::string> found;
  for (std::string line; std::getline(lines, line);) {
    if (!line.ends_with(" FOUND")) {
      continue;
    }
    for (const std::string& name : names) {
      if (line.find(name) != std::string::npos) {
        found.insert(name);
      }
    }
  }
  return found;
}

bool GuardLog::await(const std::function<bool()>& holds, Seconds patience) const {
  const quillo::UniqueFd changes(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  inotify_add_watch(changes.get(), path_.c_str(), IN_MODIFY);
  const Seconds deadline = now() + patience;
  for (;;) {
    if (holds()) {
      return true;
    }
    const double left = (deadline - now()).count();
    if (left <= 0) {
      return false;
    }
    pollfd watched{changes.get(), POLLIN, 0};
    // Not every log is there from the beginning.
    poll(&watched, 1, 1 + static_cast<int>(1000 * std::min(left, 0.5)));
    char events[4096];
    while (::read(changes.get(), events, sizeof events) > 0) {
    }
  }
}

}  // namespace bench
