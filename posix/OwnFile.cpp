#include "posix/OwnFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "posix/Text.h"
#include "posix/UniqueFd.h"

namespace quillo {

namespace {

std::string problemWith(const std::string& subject, const std::string& path, const char* what) {
  const int error = errno;
  return subject + " " + path + what + std::strerror(error);
}

std::string makeFile(const std::string& subject, const std::string& path,
                     const std::string& contents, mode_t mode) {
  UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  if (!file) {
    return problemWith(subject, path, " cannot be made: ");
  }
  // Some file systems report only then that they had no room.
  const auto isClosed = [&file] { return close(file.release()) == 0 || errno == EINTR; };
  if (!writeAll(file.get(), contents) || !isClosed()) {
    std::string problem = problemWith(subject, path, " cannot be written: ");
    unlink(path.c_str());
    return problem;
  }
  return {};
}

}  // namespace

std::string writeOwnFile(const std::string& subject, const std::string& path,
                         const std::string& contents) {
  struct stat existing = {};
  if (lstat(path.c_str(), &existing) == 0) {
    if (existing.st_uid != geteuid()) {
      return subject + " " + path + " was made by somebody else (user " +
             std::to_string(existing.st_uid) + "); it is not used";
    }
    if (unlink(path.c_str()) != 0) {
      return problemWith(subject, path, " cannot be replaced: ");
    }
  }
  return makeFile(subject, path, contents, 0600);
}

std::string writeNewFile(const std::string& subject, const std::string& path,
                         const std::string& contents) {
  // Whatever goes wrong with a folder is reported of the file in it.
  makeFolders(deletingLastPathComponent(path));
  return makeFile(subject, path, contents, 0644);
}

int makeFolders(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    if (mkdir(path.substr(0, slash).c_str(), 0700) != 0 && errno != EEXIST && errno != EROFS &&
        errno != EACCES) {
      return errno;
    }
  }
  return mkdir(path.c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

}  // namespace quillo
