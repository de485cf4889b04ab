#include "posix/FileMoving.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::size_t randomBytes = 12;
constexpr std::string_view letters = "abcdefghijklmnop";

bool isSameFile(int folder, const std::string& name, int otherFolder, const std::string& other) {
  struct stat here = {};
  struct stat there = {};
  return fstatat(folder, name.c_str(), &here, AT_SYMLINK_NOFOLLOW) == 0 &&
         fstatat(otherFolder, other.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0 &&
         here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}

// Takes the first of two names of a file, if it is still one. Returns 0 or an errno, and then the
// file has no second.
int endFirstName(int fromFolder, const std::string& from, int toFolder, const std::string& to) {
  if (!isSameFile(fromFolder, from, toFolder, to) || unlinkat(fromFolder, from.c_str(), 0) == 0) {
    return 0;
  }
  const int error = errno;
  unlinkat(toFolder, to.c_str(), 0);
  return error;
}

}  // namespace

int renameWithoutReplacing(int fromFolder, const std::string& from, int toFolder,
                           const std::string& to) {
  if (renameat2(fromFolder, from.c_str(), toFolder, to.c_str(), RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  if (linkat(fromFolder, from.c_str(), toFolder, to.c_str(), 0) == 0) {
    return endFirstName(fromFolder, from, toFolder, to);
  }
  if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EMLINK) {
    return errno;
  }
  struct stat taken = {};
  if (fstatat(toFolder, to.c_str(), &taken, AT_SYMLINK_NOFOLLOW) == 0) {
    return EEXIST;
  }
  return renameat(fromFolder, from.c_str(), toFolder, to.c_str()) == 0 ? 0 : errno;
}

int moveAside(const std::string& path, std::string& aside) {
  aside = path + ".aside";
  const int error = renameWithoutReplacing(AT_FDCWD, path, AT_FDCWD, aside);
  if (error != EEXIST) {
    return error;
  }
  aside += secretName();
  return renameWithoutReplacing(AT_FDCWD, path, AT_FDCWD, aside);
}

int copyContents(int source, int target, std::int64_t longest) {
  std::array<char, 65536> bytes;
  for (off_t place = 0;;) {
    const ssize_t count = pread(source, bytes.data(), bytes.size(), place);
    if (count == 0) {
      return 0;
    }
    if (count < 0 && errno != EINTR) {
      return errno;
    }
    const std::size_t size = count < 0 ? 0 : static_cast<std::size_t>(count);
    if (!writeAll(target, {bytes.data(), size})) {
      return errno;
    }
    place += static_cast<off_t>(size);
    if (place > longest) {
      return EFBIG;
    }
  }
}

int makeHarmless(int file) {
  constexpr mode_t dangerous = S_ISUID | S_ISGID | S_IXUSR | S_IXGRP | S_IXOTH;
  struct stat status = {};
  if (fstat(file, &status) != 0) {
    return errno;
  }
  const bool harmless = (status.st_mode & dangerous) == 0;
  return harmless || fchmod(file, status.st_mode & 07777U & ~dangerous) == 0 ? 0 : errno;
}

std::string secretName() {
  std::array<unsigned char, randomBytes> random;
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    return {};
  }
  std::string secret = ".";
  for (const unsigned char byte : random) {
    secret += letters[byte % letters.size()];
    secret += letters[byte / letters.size()];
  }
  return secret;
}

bool isSecretName(const std::string& name) {
  return name.size() == 1 + 2 * randomBytes && name.front() == '.' &&
         name.find_first_not_of(letters, 1) == std::string::npos;
}

}  // namespace quillo
