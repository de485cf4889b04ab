#include "posix/FileFacts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "posix/UniqueFd.h"

namespace quillo {

std::optional<FileFacts> fileFacts(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  FileFacts facts;
  facts.isDirectory = S_ISDIR(status.st_mode);
  facts.size = status.st_size;
  if (facts.isDirectory) {
    facts.size = std::max<std::int64_t>(facts.size, 1);
  }
  return facts;
}

bool fileExists(const std::string& path) { return fileFacts(path).has_value(); }

bool isReadableFile(const std::string& path) {
  return static_cast<bool>(UniqueFd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)));
}

std::optional<std::string> contentsOfFile(const std::string& path) {
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  return file ? restOfFile(file.get()) : std::nullopt;
}

std::optional<std::string> restOfFile(int descriptor, std::size_t largest) {
  std::string contents;
  std::array<char, 16384> buffer;
  for (;;) {
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count == 0) {
      return contents;
    }
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return std::nullopt;
    }
    if (static_cast<std::size_t>(count) > largest - contents.size()) {
      errno = EFBIG;
      return std::nullopt;
    }
    contents.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

bool isFolderItself(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isListableFolder(const std::string& path) {
  return static_cast<bool>(UniqueFd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

bool isOwnFolder(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

}  // namespace quillo
