#include "posix/Sha256.h"

#include <nettle/sha2.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <vector>

namespace quillo {
namespace {

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

}  // namespace

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
