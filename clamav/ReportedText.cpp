#include "clamav/ReportedText.h"

#include <cstddef>
#include <optional>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view digits = "0123456789ABCDEF";
constexpr std::size_t escapeLength = 4;

// The byte that an escape at the start of `text` stands for.
std::optional<char> escapedByte(std::string_view text) {
  if (text.size() < escapeLength || text[0] != '\\' || text[1] != 'x') {
    return std::nullopt;
  }
  const std::size_t high = digits.find(text[2]);
  const std::size_t low = digits.find(text[3]);
  if (high == std::string_view::npos || low == std::string_view::npos) {
    return std::nullopt;
  }
  return static_cast<char>(high * digits.size() + low);
}

std::size_t plainLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const bool control = lead < 0x20 || lead == 0x7F;
  return control || escapedByte(text) ? 0 : utf8SequenceLength(text);
}

}  // namespace

std::string reportedText(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t length = plainLength(bytes);
    if (length > 0) {
      text.append(bytes.substr(0, length));
      bytes.remove_prefix(length);
      continue;
    }
    const auto value = static_cast<unsigned char>(bytes[0]);
    text += "\\x";
    text += digits[value >> 4U];
    text += digits[value & 0xFU];
    bytes.remove_prefix(1);
  }
  return text;
}

std::string bytesOfReported(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  while (!text.empty()) {
    const std::optional<char> byte = escapedByte(text);
    bytes += byte.value_or(text[0]);
    text.remove_prefix(byte ? escapeLength : 1);
  }
  return bytes;
}

}  // namespace quillo
