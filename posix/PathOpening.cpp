#include "posix/PathOpening.h"

#include <fcntl.h>
#include <limits.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace quillo {
namespace {

constexpr int always = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

using Opener = int (*)(int folder, const char* path, int flags);

int openPlainly(int folder, const char* path, int flags) { return openat(folder, path, flags); }

int openRefusingLinks(int folder, const char* path, int flags) {
  open_how how = {};
  how.flags = static_cast<unsigned>(flags);
  how.resolve = RESOLVE_NO_SYMLINKS;
  const long result = syscall(SYS_openat2, folder, path, &how, sizeof(how));
  if (result < 0 && errno == ENOSYS) {
    return openat(folder, path, flags | O_NOFOLLOW);
  }
  return static_cast<int>(result);
}

int withoutUselessFlags(int flags) {
  // openat2 refuses what open ignores.
  return (flags & O_PATH) != 0 ? flags | O_CLOEXEC : flags | always;
}

// Leads into the first folders of `path` until what is left is short enough for one call.
UniqueFd shorten(std::string_view& path, Opener opener) {
  UniqueFd folder;
  int start = AT_FDCWD;
  while (path.size() >= PATH_MAX) {
    const std::size_t cut = path.rfind('/', PATH_MAX - 2);
    if (cut == std::string_view::npos || cut == 0) {
      errno = ENAMETOOLONG;
      return UniqueFd();
    }
    const std::string piece(path.substr(0, cut));
    folder = UniqueFd(opener(start, piece.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
      return UniqueFd();
    }
    start = folder.get();
    path.remove_prefix(cut);
    while (!path.empty() && path[0] == '/') {
      path.remove_prefix(1);
    }
  }
  return folder;
}

UniqueFd openWith(Opener opener, std::string_view path, int flags) {
  const bool tooLong = path.size() >= PATH_MAX;
  const UniqueFd folder = shorten(path, opener);
  if (tooLong && !folder) {
    return UniqueFd();
  }
  const std::string rest(path.empty() ? "." : path);
  return UniqueFd(
      opener(tooLong ? folder.get() : AT_FDCWD, rest.c_str(), withoutUselessFlags(flags)));
}

}  // namespace

UniqueFd openPath(std::string_view path, int flags) { return openWith(openPlainly, path, flags); }

UniqueFd openWithoutLinks(std::string_view path, int flags) {
  return openWith(openRefusingLinks, path, flags);
}

}  // namespace quillo
