#include "clamav/LocalSocketLine.h"

#include <cstdint>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int encodingUtf8 = 4;
constexpr int encodingLatin1 = 5;
constexpr int encodingUtf16 = 10;
constexpr std::string_view socketOption = "LocalSocket ";
constexpr std::size_t shortestLine = 13;

void appendUtf8(std::string& text, std::uint32_t code) {
  const auto byte = [&text](std::uint32_t value) { text.push_back(static_cast<char>(value)); };
  if (code < 0x80) {
    byte(code);
  } else if (code < 0x800) {
    byte(0xC0 | (code >> 6));
    byte(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    byte(0xE0 | (code >> 12));
    byte(0x80 | ((code >> 6) & 0x3F));
    byte(0x80 | (code & 0x3F));
  } else {
    byte(0xF0 | (code >> 18));
    byte(0x80 | ((code >> 12) & 0x3F));
    byte(0x80 | ((code >> 6) & 0x3F));
    byte(0x80 | (code & 0x3F));
  }
}

// `bytes` begins with a byte order mark.
std::string fromUtf16(const std::string& bytes) {
  const bool bigEndian = bytes[0] == '\xFE';
  const auto unit = [&bytes, bigEndian](std::size_t at) -> std::uint32_t {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return bigEndian ? first << 8 | second : second << 8 | first;
  };
  std::string text;
  for (std::size_t at = 2; at + 1 < bytes.size(); at += 2) {
    std::uint32_t code = unit(at);
    if (code >= 0xD800 && code < 0xDC00 && at + 3 < bytes.size()) {
      at += 2;
      code = 0x10000 + ((code - 0xD800) << 10) + (unit(at) & 0x3FF);
    }
    appendUtf8(text, code);
  }
  return text;
}

std::string decoded(const std::string& bytes, int& encoding) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    encoding = encodingUtf16;
    return fromUtf16(bytes);
  }
  // Latin-1 bytes stay as they are: a path is bytes.
  encoding = isValidUtf8(bytes) ? encodingUtf8 : encodingLatin1;
  return bytes.starts_with("\xEF\xBB\xBF") ? bytes.substr(3) : bytes;
}

std::optional<std::string> socketOf(std::string_view line) {
  const std::size_t option = line.find(socketOption);
  if (line.size() < shortestLine || option == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view rest = line.substr(option + socketOption.size());
  return std::string(rest.substr(0, rest.find(socketOption)));
}

}  // namespace

LocalSocketLine discernLocalSocket(const std::string& bytes) {
  LocalSocketLine found;
  const std::string text = decoded(bytes, found.encoding);
  for (const std::string_view line : split(text, '\n')) {
    if (auto path = socketOf(line)) {
      found.path = std::move(path);
    }
  }
  return found;
}

}  // namespace quillo
