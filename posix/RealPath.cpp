#include "posix/RealPath.h"

#include <fcntl.h>
#include <limits.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string_view>

#include "posix/Text.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::size_t mostLinks = 40;

std::optional<std::string> targetOfLink(const std::string& place) {
  std::array<char, PATH_MAX> target;
  const ssize_t length = readlink(place.c_str(), target.data(), target.size());
  if (length < 0) {
    return std::nullopt;
  }
  return std::string(target.data(), static_cast<std::size_t>(length));
}

// Puts the parts of a path on a pile, the first on top.
void pile(std::vector<std::string>& parts, std::string_view path) {
  const std::vector<std::string_view> pieces = split(path, '/');
  for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
    if (!piece->empty() && *piece != ".") {
      parts.emplace_back(*piece);
    }
  }
}

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
  std::vector<std::string> parts;
  pile(parts, path);
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
    pile(parts, *target);
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
