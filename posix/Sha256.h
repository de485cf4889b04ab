#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillo {

// The hash SHA-256 (FIPS 180-4) of everything in an open file, from its start, as 64 digits of
// base 16; absent when the file cannot be read or holds more than `longest` bytes. Leaves the
// descriptor's place alone. Any thread.
std::optional<std::string> sha256OfFile(int descriptor, std::int64_t longest);

}  // namespace quillo
