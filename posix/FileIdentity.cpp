#include "posix/FileIdentity.h"

#include <fcntl.h>
#include <nettle/sha2.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <vector>

namespace quillo {
namespace {

std::int64_t nanoseconds(const struct statx_timestamp& time) {
  return time.tv_sec * 1000000000LL + time.tv_nsec;
}

std::string digestOf(sha256_ctx& hash) {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest = {};
  sha256_digest(&hash, digest.size(), digest.data());
  std::string digits;
  for (const unsigned int byte : digest) {
    digits += "0123456789abcdef"[byte >> 4];
    digits += "0123456789abcdef"[byte & 0xfU];
  }
  return digits;
}

std::optional<FileIdentity> lookedUp(int folder, const char* name, int flags, int& error) {
  struct statx status = {};
  const bool liesThere = statx(folder, name, flags, STATX_BASIC_STATS | STATX_BTIME, &status) == 0;
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

}  // namespace

std::optional<FileIdentity> FileIdentity::at(const std::string& path) {
  int error = 0;
  return at(path, error);
}

std::optional<FileIdentity> FileIdentity::at(const std::string& path, int& error) {
  return lookedUp(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, error);
}

std::optional<FileIdentity> FileIdentity::in(int folder, const std::string& name) {
  int error = 0;
  return in(folder, name, error);
}

std::optional<FileIdentity> FileIdentity::in(int folder, const std::string& name, int& error) {
  return lookedUp(folder, name.c_str(), AT_SYMLINK_NOFOLLOW, error);
}

std::optional<FileIdentity> FileIdentity::of(int descriptor) {
  int error = 0;
  return lookedUp(descriptor, "", AT_EMPTY_PATH, error);
}

std::string sha256Of(std::string_view bytes) {
  sha256_ctx hash;
  sha256_init(&hash);
  sha256_update(&hash, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
  return digestOf(hash);
}

std::optional<std::string> sha256OfFile(int descriptor, std::int64_t longest) {
  sha256_ctx hash;
  sha256_init(&hash);
  std::vector<std::uint8_t> piece(65536);
  for (std::int64_t place = 0; place <= longest;) {
    const ssize_t count = pread(descriptor, piece.data(), piece.size(), place);
    if (count == 0) {
      return digestOf(hash);
    }
    if (count < 0 && errno != EINTR) {
      return std::nullopt;
    }
    if (count > 0) {
      sha256_update(&hash, static_cast<std::size_t>(count), piece.data());
      place += count;
    }
  }
  return std::nullopt;
}

}  // namespace quillo
