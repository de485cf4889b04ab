#include "posix/FileIdentity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>

namespace quillo {
namespace {

std::int64_t nanoseconds(const struct statx_timestamp& time) {
  return time.tv_sec * 1000000000LL + time.tv_nsec;
}

}  // namespace

std::optional<FileIdentity> FileIdentity::at(const std::string& path) {
  int error = 0;
  return at(path, error);
}

std::optional<FileIdentity> FileIdentity::at(const std::string& path, int& error) {
  struct statx status = {};
  const bool liesThere = statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW,
                               STATX_BASIC_STATS | STATX_BTIME, &status) == 0;
  error = liesThere ? 0 : errno;
  if (!liesThere || !S_ISREG(status.stx_mode)) {
    return std::nullopt;
  }
  FileIdentity identity;
  identity.device = makedev(status.stx_dev_major, status.stx_dev_minor);
  identity.number = status.stx_ino;
  identity.made = (status.stx_mask & STATX_BTIME) != 0 ? nanoseconds(status.stx_btime) : 0;
  identity.changed = nanoseconds(status.stx_mtime);
  identity.size = static_cast<std::int64_t>(status.stx_size);
  return identity;
}

}  // namespace quillo
