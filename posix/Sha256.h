#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillo {

// The hash SHA-256 (FIPS 180-4) of bytes that come piece by piece. One thread.
class Sha256 {
 public:
  void add(std::string_view bytes);
  // Of all that was added, as 64 digits. Once.
  std::string end();

 private:
  void addBlock(const unsigned char* block);

  std::array<std::uint32_t, 8> state_ = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                         0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::array<unsigned char, 64> block_ = {};
  std::size_t filled_ = 0;
  std::uint64_t length_ = 0;  // bytes
};

// Of everything in an open file, from its start; absent when it cannot be read or holds more than
// `longest` bytes. Any thread.
std::optional<std::string> sha256OfFile(int descriptor, std::int64_t longest);

}  // namespace quillo
