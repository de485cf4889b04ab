#include "posix/RealPath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::size_t mostLinks = 40;

void leave(std::string& folder) { folder.resize(folder.empty() ? 0 : folder.rfind('/')); }

// Asked of what the kernel remembers alone, so that no file system can hold up the answer
// (openat2(2); kernels before 5.12 do not answer, and then nothing is noticed).
bool aLinkIsOnTheWayTo(const std::string& path) {
  open_how how = {};
  how.flags = O_PATH | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_CACHED;
  const UniqueFd found(
      static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
  return !found && errno == ELOOP;
}

}  // namespace

RealPath::RealPath(const std::string& path) {
  std::vector<std::string> parts = namesFromEnd(path);
  while (!parts.empty()) {
    const std::string part = std::move(parts.back());
    parts.pop_back();
    if (part == "..") {
      leave(path_);
      continue;
    }
    const std::string place = path_ + "/" + part;
    const auto target = links_.size() < mostLinks ? targetOfLink(place) : std::nullopt;
    if (!target) {
      path_ = place;
      continue;
    }
    links_.push_back({place, *target});
    if (target->starts_with('/')) {
      path_.clear();
    }
    const std::vector<std::string> others = namesFromEnd(*target);
    parts.insert(parts.end(), others.begin(), others.end());
  }
  if (path_.empty()) {
    path_ = "/";
  }
}

bool RealPath::hasChanged() const {
  if (path_.empty()) {
    return false;
  }
  for (const Link& link : links_) {
    if (targetOfLink(link.place) != link.target) {
      return true;
    }
  }
  return links_.size() < mostLinks && aLinkIsOnTheWayTo(path_);
}

}  // namespace quillo
