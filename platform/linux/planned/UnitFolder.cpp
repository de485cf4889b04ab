#include "platform/linux/planned/UnitFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "posix/RealPath.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::size_t largestUnit = std::size_t{1024} * 1024;

// 0 where nothing lies, or a file of this user's own.
int obstacleAt(int folder, const std::string& name) {
  struct stat info = {};
  if (fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? 0 : errno;
  }
  if (!S_ISREG(info.st_mode)) {
    return S_ISLNK(info.st_mode) ? ELOOP : EEXIST;
  }
  return info.st_uid == geteuid() ? 0 : EACCES;
}

int writeWhole(int folder, const std::string& name, const std::string& text) {
  const std::string draft = "." + name + "." + std::to_string(getpid());
  unlinkat(folder, draft.c_str(), 0);
  UniqueFd file(
      openat(folder, draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
  if (!file) {
    return errno;
  }
  const bool isWritten = writeAll(file.get(), text) && fsync(file.get()) == 0 &&
                         close(file.release()) == 0 &&
                         renameat(folder, draft.c_str(), folder, name.c_str()) == 0;
  const int error = isWritten ? 0 : errno;
  if (!isWritten) {
    unlinkat(folder, draft.c_str(), 0);
    return error;
  }
  fsync(folder);
  return 0;
}

UniqueFd opened(const std::string& path) {
  return UniqueFd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

Wording UnitFolder::problemWith(const std::string& name, int error) const {
  return {"PLANNED_CANNOT_WRITE", {path_ + "/" + name, std::strerror(error)}};
}

std::optional<std::string> UnitFolder::read(const std::string& name) const {
  return contentsOfRegularFile(path_ + "/" + name, Links::refused, largestUnit);
}

Wording UnitFolder::write(const std::string& name, const std::string& text) const {
  if (const int error = makeFolders(path_)) {
    return problemWith(name, error);
  }
  if (!distrustOfPath(path_, {geteuid(), 0}).empty()) {
    return {"PLANNED_NOT_YOURS", {path_}};
  }
  const UniqueFd folder = opened(path_);
  if (!folder) {
    return problemWith(name, errno);
  }
  if (const int obstacle = obstacleAt(folder.get(), name)) {
    return problemWith(name, obstacle);
  }
  const int error = writeWhole(folder.get(), name, text);
  return error == 0 ? Wording() : problemWith(name, error);
}

Wording UnitFolder::remove(const std::string& name) const {
  const UniqueFd folder = opened(path_);
  if (!folder) {
    return errno == ENOENT ? Wording() : problemWith(name, errno);
  }
  if (unlinkat(folder.get(), name.c_str(), 0) != 0 && errno != ENOENT) {
    return problemWith(name, errno);
  }
  fsync(folder.get());
  return {};
}

Wording UnitFolder::restore(const std::string& name, const std::optional<std::string>& text) const {
  return text ? write(name, *text) : remove(name);
}

}  // namespace quillo
