#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// What the fuzz targets share: each is given bytes that a stranger may write, and says what must
// hold for all of them.

namespace quillo::fuzz {

// Ends the process, which libFuzzer reports with the input.
inline void mustHold(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Takes what stands before the first `separator` off the text; all of it where there is none.
inline std::string taken(std::string_view& text, char separator) {
  const std::size_t end = text.find(separator);
  std::string piece(text.substr(0, end));
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return piece;
}

}  // namespace quillo::fuzz
