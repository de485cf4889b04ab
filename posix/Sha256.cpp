#include "posix/Sha256.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <vector>

namespace quillo {
namespace {

// The first 32 bits of the fractions of the cube roots of the first 64 primes.
constexpr std::array<std::uint32_t, 64> constants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::size_t lengthField = 8;

std::uint32_t wordAt(const unsigned char* bytes) {
  return static_cast<std::uint32_t>(bytes[0]) << 24U | static_cast<std::uint32_t>(bytes[1]) << 16U |
         static_cast<std::uint32_t>(bytes[2]) << 8U | static_cast<std::uint32_t>(bytes[3]);
}

}  // namespace

// The names are the standard's (6.2.2).
void Sha256::addBlock(const unsigned char* block) {
  std::array<std::uint32_t, 64> w;
  for (std::size_t t = 0; t < 16; ++t) {
    w[t] = wordAt(block + 4 * t);
  }
  for (std::size_t t = 16; t < w.size(); ++t) {
    const std::uint32_t s0 = std::rotr(w[t - 15], 7) ^ std::rotr(w[t - 15], 18) ^ (w[t - 15] >> 3U);
    const std::uint32_t s1 = std::rotr(w[t - 2], 17) ^ std::rotr(w[t - 2], 19) ^ (w[t - 2] >> 10U);
    w[t] = w[t - 16] + s0 + w[t - 7] + s1;
  }
  auto [a, b, c, d, e, f, g, h] = state_;
  for (std::size_t t = 0; t < w.size(); ++t) {
    const std::uint32_t sum1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
    const std::uint32_t t1 = h + sum1 + ((e & f) ^ (~e & g)) + constants[t] + w[t];
    const std::uint32_t sum0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
    const std::uint32_t t2 = sum0 + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  const std::array<std::uint32_t, 8> added = {a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < state_.size(); ++i) {
    state_[i] += added[i];
  }
}

void Sha256::add(std::string_view bytes) {
  length_ += bytes.size();
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), block_.size() - filled_);
    std::memcpy(block_.data() + filled_, bytes.data(), count);
    filled_ += count;
    bytes.remove_prefix(count);
    if (filled_ == block_.size()) {
      addBlock(block_.data());
      filled_ = 0;
    }
  }
}

std::string Sha256::end() {
  const std::uint64_t bits = length_ * 8;
  std::string padding(1, '\x80');
  const std::size_t end = block_.size() - lengthField;
  padding.append((end + block_.size() - (filled_ + 1) % block_.size()) % block_.size(), '\0');
  for (std::size_t byte = lengthField; byte-- > 0;) {
    padding += static_cast<char>(bits >> (8 * byte) & 0xffU);
  }
  add(padding);
  std::string digits;
  for (const std::uint32_t word : state_) {
    for (unsigned int shift = 32; shift > 0;) {
      shift -= 4;
      digits += "0123456789abcdef"[word >> shift & 0xfU];
    }
  }
  return digits;
}

std::optional<std::string> sha256OfFile(int descriptor, std::int64_t longest) {
  Sha256 hash;
  std::vector<char> piece(65536);
  for (std::int64_t place = 0; place <= longest;) {
    const ssize_t count = pread(descriptor, piece.data(), piece.size(), place);
    if (count == 0) {
      return hash.end();
    }
    if (count < 0 && errno != EINTR) {
      return std::nullopt;
    }
    if (count > 0) {
      hash.add({piece.data(), static_cast<std::size_t>(count)});
      place += count;
    }
  }
  return std::nullopt;
}

}  // namespace quillo
