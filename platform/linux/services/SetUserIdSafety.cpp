#include "platform/linux/services/SetUserIdSafety.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstring>

#include "posix/Accounts.h"

namespace quillo {
namespace {

Wording belongsTo(const std::string& path, uid_t user) {
  const std::string name = accountNumbered(user).name;
  if (!name.empty()) {
    return {"PATH_BELONGS_TO", {path, name}};
  }
  return {"PATH_BELONGS_TO_NUMBER", {path, std::to_string(user)}};
}

// The mode's group bits are also the mask of an access control list (acl(5)).
bool isWritableForOthers(const struct stat& info) {
  return (info.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

Wording whyUnsafeFolder(const std::string& path) {
  struct stat info = {};
  if (lstat(path.c_str(), &info) != 0) {
    return {"PATH_UNREADABLE", {path, std::strerror(errno)}};
  }
  if (S_ISLNK(info.st_mode)) {
    return {"PATH_IS_LINK", {path}};
  }
  if (!S_ISDIR(info.st_mode)) {
    return {"PATH_NO_FOLDER", {path}};
  }
  if (info.st_uid != 0) {
    return belongsTo(path, info.st_uid);
  }
  if (isWritableForOthers(info)) {
    return {"PATH_WRITABLE_BY_OTHERS", {path}};
  }
  return {};
}

Wording whyUnsafeFile(const std::string& path) {
  struct stat info = {};
  if (lstat(path.c_str(), &info) != 0) {
    return {"PATH_UNREADABLE", {path, std::strerror(errno)}};
  }
  if (!S_ISREG(info.st_mode)) {
    return {S_ISLNK(info.st_mode) ? "PATH_IS_LINK" : "PATH_NO_REGULAR_FILE", {path}};
  }
  if (info.st_uid != 0) {
    return belongsTo(path, info.st_uid);
  }
  if (isWritableForOthers(info)) {
    return {"PATH_WRITABLE_BY_OTHERS", {path}};
  }
  // What it gets would be found under that name too, wherever that is.
  if (info.st_nlink != 1) {
    return {"PATH_HAS_SECOND_NAME", {path}};
  }
  struct statvfs fileSystem = {};
  if (statvfs(path.c_str(), &fileSystem) == 0 && (fileSystem.f_flag & ST_NOSUID) != 0) {
    return {"PATH_NOSUID", {path}};
  }
  return {};
}

}  // namespace

Wording whyUnsafe(const std::string& path) {
  if (path.empty() || path.front() != '/') {
    return {"PATH_NOT_ABSOLUTE", {path}};
  }
  for (std::size_t slash = 0; slash != std::string::npos; slash = path.find('/', slash + 1)) {
    const Wording why = whyUnsafeFolder(slash == 0 ? "/" : path.substr(0, slash));
    if (!why.empty()) {
      return why;
    }
  }
  return whyUnsafeFile(path);
}

}  // namespace quillo
