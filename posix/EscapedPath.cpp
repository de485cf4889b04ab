#include "posix/EscapedPath.h"

namespace quillo {
namespace {

constexpr std::string_view lineBreak = "\\x0A";
constexpr std::string_view backslash = "\\x5C";

bool startsAt(std::string_view text, std::size_t at, std::string_view what) {
  return text.compare(at, what.size(), what) == 0;
}

}  // namespace

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
