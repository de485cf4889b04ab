#include "clamav/TrustedPath.h"

#include <sys/stat.h>

#include <algorithm>

#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int mostLinks = 40;  // the kernel's own limit

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
  std::vector<std::string> names = namesFromEnd(path);
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
