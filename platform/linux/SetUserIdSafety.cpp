#include "platform/linux/SetUserIdSafety.h"

#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace quillo {
namespace {

std::string nameOf(uid_t user) {
  std::array<char, 16384> buffer;
  passwd entry = {};
  passwd* found = nullptr;
  if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr) {
    return found->pw_name;
  }
  return "user number " + std::to_string(user);
}

// The mode's group bits are also the mask of an access control list (acl(5)).
bool isWritableForOthers(const struct stat& info) {
  return (info.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

std::string whyUnsafeFolder(const std::string& path) {
  struct stat info = {};
  if (lstat(path.c_str(), &info) != 0) {
    return path + ": " + std::strerror(errno);
  }
  if (S_ISLNK(info.st_mode)) {
    return path + " is a symbolic link";
  }
  if (!S_ISDIR(info.st_mode)) {
    return path + " is no folder";
  }
  if (info.st_uid != 0) {
    return path + " belongs to " + nameOf(info.st_uid);
  }
  // In a sticky folder nobody can exchange what is root's (unlink(2)).
  if (isWritableForOthers(info) && (info.st_mode & S_ISVTX) == 0) {
    return path + " can be written by others than root";
  }
  return {};
}

std::string whyUnsafeFile(const std::string& path) {
  struct stat info = {};
  if (lstat(path.c_str(), &info) != 0) {
    return path + ": " + std::strerror(errno);
  }
  if (!S_ISREG(info.st_mode)) {
    return path + (S_ISLNK(info.st_mode) ? " is a symbolic link" : " is no regular file");
  }
  if (info.st_uid != 0) {
    return path + " belongs to " + nameOf(info.st_uid);
  }
  if (isWritableForOthers(info)) {
    return path + " can be written by others than root";
  }
  struct statvfs fileSystem = {};
  if (statvfs(path.c_str(), &fileSystem) == 0 && (fileSystem.f_flag & ST_NOSUID) != 0) {
    return path + " lies on a file system that is mounted nosuid";
  }
  return {};
}

}  // namespace

std::string whyUnsafe(const std::string& path) {
  if (path.empty() || path.front() != '/') {
    return path + " is no absolute path";
  }
  for (std::size_t slash = 0; slash != std::string::npos; slash = path.find('/', slash + 1)) {
    const std::string why = whyUnsafeFolder(slash == 0 ? "/" : path.substr(0, slash));
    if (!why.empty()) {
      return why;
    }
  }
  return whyUnsafeFile(path);
}

}  // namespace quillo
