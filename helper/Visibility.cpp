#include "helper/Visibility.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "posix/FileFacts.h"
#include "posix/UniqueFd.h"

namespace quillo::helper {

int openFolderAt(int folder, const std::string& name, int flags) {
  return openat(folder, name.c_str(), flags | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// Name by name, as a system call filter cannot look into what openat2(2) is given.
int openFolder(const std::string& path, int flags) {
  size_t slash = path.find_first_not_of('/');
  if (slash == std::string::npos) return openFolderAt(AT_FDCWD, "/", flags);
  UniqueFd above(openFolderAt(AT_FDCWD, "/", O_PATH));
  while (above) {
    const size_t begin = slash;
    slash = path.find('/', begin);
    const size_t next = path.find_first_not_of('/', slash);
    const std::string name = path.substr(begin, slash - begin);
    if (next == std::string::npos) return openFolderAt(above.get(), name, flags);
    above = UniqueFd(openFolderAt(above.get(), name, O_PATH));
    slash = next;
  }
  return -1;
}

std::optional<Place> placeFor(const std::string& path, const Identity& identity) {
  const UniqueFd folder(openFolder(path, O_PATH));
  struct stat info {};
  if (!folder || fstat(folder.get(), &info) < 0 || Identity(info) != identity) return std::nullopt;
  Place place{path};
  if (place.prefix.back() != '/') place.prefix += '/';
  return place;
}

bool isStillAt(const Place& place, const Identity& identity) {
  return identify(place.prefix) == identity;
}

bool isListable(int folder) {
  return syscall(SYS_faccessat2, folder, "", R_OK | X_OK, AT_EMPTY_PATH | AT_EACCESS) == 0;
}

std::optional<Identity> identify(const std::string& path) {
  struct stat info {};
  if (lstat(path.c_str(), &info) < 0) return std::nullopt;
  return Identity(info);
}

std::optional<std::string> pathOfDescriptor(int fd) {
  auto path = targetOfLink("/proc/self/fd/" + std::to_string(fd));
  return path && path->starts_with('/') ? path : std::nullopt;
}

}  // namespace quillo::helper
