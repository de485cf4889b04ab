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

}  // namespace

int renameWithoutReplacing(int fromFolder, const std::string& from, int toFolder,
                           const std::string& to) {
  if (renameat2(fromFolder, from.c_str(), toFolder, to.c_str(), RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  struct stat taken = {};
  if (fstatat(toFolder, to.c_str(), &taken, AT_SYMLINK_NOFOLLOW) == 0) {
    return EEXIST;
  }
  return renameat(fromFolder, from.c_str(), toFolder, to.c_str()) == 0 ? 0 : errno;
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
