#include "posix/Text.h"

#include <algorithm>
#include <cstdint>

namespace quillo {
namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

// The length of the sequence that `lead` begins, 0 for a byte that begins none.
std::size_t sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

std::uint32_t smallestOfLength(std::size_t length) {
  return length == 2 ? 0x80U : length == 3 ? 0x800U : 0x10000U;
}

constexpr std::string_view lineBreak = "\\x0A";
constexpr std::string_view backslash = "\\x5C";

bool startsAt(std::string_view text, std::size_t at, std::string_view what) {
  return text.compare(at, what.size(), what) == 0;
}

}  // namespace

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = text.find(separator, start);
    if (end == std::string_view::npos) {
      pieces.push_back(text.substr(start));
      return pieces;
    }
    pieces.push_back(text.substr(start, end - start));
    start = end + 1;
  }
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(whiteSpace);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(whiteSpace) - first + 1);
}

std::string lowercased(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return result;
}

std::string replacingAll(std::string text, std::string_view what, std::string_view with) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

std::size_t utf8SequenceLength(std::string_view text) {
  if (text.empty()) {
    return 0;
  }
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = sequenceLength(lead);
  if (length < 2 || length > text.size()) {
    return length == 1 ? 1 : 0;
  }
  std::uint32_t code = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0U) != 0x80U) {
      return 0;
    }
    code = (code << 6U) | (next & 0x3FU);
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code < smallestOfLength(length) || surrogate || code > 0x10FFFF ? 0 : length;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isValidUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

int lastColon(std::string_view text) {
  const std::size_t at = text.rfind(':');
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

bool liesBelow(std::string_view path, std::string_view folder) {
  if (folder == "/") {
    return path.starts_with('/') && path != "/";
  }
  return path.starts_with(folder) && path.size() > folder.size() && path[folder.size()] == '/';
}

std::string_view lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') {
    path.remove_suffix(1);
  }
  if (path == "/") {
    return path;
  }
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string deletingLastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') {
    path.remove_suffix(1);
  }
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) {
    return {};
  }
  std::string_view parent = path.substr(0, slash);
  while (!parent.empty() && parent.back() == '/') {
    parent.remove_suffix(1);
  }
  return parent.empty() ? "/" : std::string(parent);
}

std::string escapedPathLine(std::string_view path) {
  const bool isPlain =
      path.find('\n') == std::string_view::npos && (path.empty() || path.front() == '/');
  if (isPlain) return std::string(path);
  std::string line = "\\";
  for (const char byte : path) {
    if (byte == '\n') {
      line += lineBreak;
    } else if (byte == '\\') {
      line += backslash;
    } else {
      line += byte;
    }
  }
  return line;
}

std::string pathOfLine(std::string_view line) {
  if (line.empty() || line.front() != '\\') return std::string(line);
  std::string path;
  for (std::size_t at = 1; at < line.size(); ++at) {
    if (startsAt(line, at, lineBreak)) {
      path += '\n';
      at += lineBreak.size() - 1;
    } else if (startsAt(line, at, backslash)) {
      path += '\\';
      at += backslash.size() - 1;
    } else {
      path += line[at];
    }
  }
  return path;
}

}  // namespace quillo
