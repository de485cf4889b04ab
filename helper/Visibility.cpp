#include "helper/Visibility.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <climits>

#include "helper/UniqueFd.h"

namespace quillo::helper {
namespace {

bool permits(int at, const char* path, int mode, int flags) {
  return syscall(SYS_faccessat2, at, path, mode, flags | AT_EACCESS) == 0;
}

}  // namespace

int openFolder(const std::string& path, int flags) {
  open_how how{};
  how.flags = static_cast<unsigned>(flags | O_DIRECTORY | O_CLOEXEC);
  how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  return static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof(how)));
}

std::optional<Place> placeFor(const std::string& path, const Identity& identity) {
  const UniqueFd folder(openFolder(path, O_PATH));
  struct stat info {};
  if (!folder || fstat(folder.get(), &info) < 0 || Identity(info) != identity) return std::nullopt;
  Place place;
  place.listable = permits(folder.get(), "", R_OK | X_OK, AT_EMPTY_PATH);
  if (!place.listable && !permits(folder.get(), "", X_OK, AT_EMPTY_PATH)) return std::nullopt;
  place.prefix = path;
  if (place.prefix.back() != '/') place.prefix += '/';
  return place;
}

bool mayKnow(const Place& place, std::string_view name) {
  if (place.listable) return true;
  const std::string path = std::string(place.prefix).append(name);
  return permits(AT_FDCWD, path.c_str(), R_OK, AT_SYMLINK_NOFOLLOW);
}

std::optional<Identity> identify(const std::string& path) {
  struct stat info {};
  if (lstat(path.c_str(), &info) < 0) return std::nullopt;
  return Identity(info);
}

std::optional<std::string> pathOfDescriptor(int fd) {
  std::array<char, PATH_MAX + 1> target{};
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t length = readlink(link.c_str(), target.data(), target.size());
  if (length <= 0 || target.front() != '/') return std::nullopt;
  return std::string(target.data(), static_cast<size_t>(length));
}

}  // namespace quillo::helper
