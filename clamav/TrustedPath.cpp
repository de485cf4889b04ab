#include "clamav/TrustedPath.h"

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int mostLinks = 40;  // the kernel's own limit

// `names` in reverse, so that the next one is at the back.
void pushNames(std::vector<std::string>& names, std::string_view path) {
  const std::vector<std::string_view> pieces = split(path, '/');
  for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
    if (!piece->empty() && *piece != ".") {
      names.emplace_back(*piece);
    }
  }
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

std::string distrustOfPath(const std::string& path, const std::vector<uid_t>& owners) {
  if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) {
    return "not an absolute path";
  }
  std::vector<std::string> names;
  pushNames(names, path);
  std::string reached;  // "" is the root folder
  struct stat status = {};
  std::string why = lstat("/", &status) == 0 ? distrustOf("/", status, owners) : "no root folder";
  for (int links = 0; why.empty() && !names.empty();) {
    const std::string name = std::move(names.back());
    names.pop_back();
    if (name == "..") {
      reached.erase(std::min(reached.rfind('/'), reached.size()));
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
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlink(next.c_str(), target.data(), target.size());
    if (length <= 0 || ++links > mostLinks) {
      return next + " cannot be followed";
    }
    reached = target[0] == '/' ? "" : reached;
    pushNames(names, std::string_view(target.data(), static_cast<std::size_t>(length)));
  }
  return why;
}

}  // namespace quillo
