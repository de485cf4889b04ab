#include "posix/RealPath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>

#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::size_t mostLinks = 40;  // the kernel's own limit

// The first name of a path comes last.
std::vector<std::string> namesFromEnd(std::string_view path) {
  std::vector<std::string> names;
  const std::vector<std::string_view> pieces = split(path, '/');
  for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
    if (!piece->empty() && *piece != ".") {
      names.emplace_back(*piece);
    }
  }
  return names;
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

std::string distrustOf(const std::string& path, const struct stat& status,
                       const std::vector<uid_t>& owners) {
  if (std::find(owners.begin(), owners.end(), status.st_uid) == owners.end()) {
    return path + " belongs to user " + std::to_string(status.st_uid);
  }
  const bool ownEntriesOnly = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
  if (!S_ISLNK(status.st_mode) && (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 && !ownEntriesOnly) {
    return "others may write to " + path;
  }
  return "";
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

std::string distrustOfPath(const std::string& path, const std::vector<uid_t>& owners) {
  if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) {
    return "not an absolute path";
  }
  std::vector<std::string> names = namesFromEnd(path);
  std::string reached;  // "" is the root folder
  struct stat status = {};
  std::string why = lstat("/", &status) == 0 ? distrustOf("/", status, owners) : "no root folder";
  for (std::size_t links = 0; why.empty() && !names.empty();) {
    const std::string name = std::move(names.back());
    names.pop_back();
    if (name == "..") {
      leave(reached);
      continue;
    }
    const std::string next = reached + "/" + name;
    if (lstat(next.c_str(), &status) != 0) {
      return next + " cannot be looked at";
    }
    why = distrustOf(next, status, owners);
    if (!S_ISLNK(status.st_mode)) {
      reached = next;
      continue;
    }
    const std::string target = targetOfLink(next).value_or("");
    if (target.empty() || ++links > mostLinks) {
      return next + " cannot be followed";
    }
    reached = target.front() == '/' ? "" : reached;
    const std::vector<std::string> others = namesFromEnd(target);
    names.insert(names.end(), others.begin(), others.end());
  }
  return why;
}

}  // namespace quillo
