#include "posix/FileFacts.h"

#include <limits.h>
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

std::optional<std::string> contentsOfRegularFile(const std::string& path, Links links,
                                                 std::size_t largest, int folder) {
  constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const UniqueFd file(
      openat(folder, path.c_str(), links == Links::refused ? flags | O_NOFOLLOW : flags));
  struct stat status = {};
  if (!file || fstat(file.get(), &status) != 0) {
    return std::nullopt;
  }
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return std::nullopt;
  }
  return restOfFile(file.get(), largest);
}

std::optional<std::string> restOfFile(int descriptor, std::size_t largest) {
  std::string contents;
  std::array<char, 16384> buffer;
  for (;;) {
    const ssize_t count = readSome(descriptor, buffer.data(), buffer.size());
    if (count == 0) {
      return contents;
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

std::optional<std::string> targetOfLink(const std::string& path) {
  std::array<char, PATH_MAX> target;
  const ssize_t length = readlink(path.c_str(), target.data(), target.size());
  if (length < 0) {
    return std::nullopt;
  }
  return std::string(target.data(), static_cast<std::size_t>(length));
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
