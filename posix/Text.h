#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace quillo {

// Pieces of text and of paths. Pure functions on bytes; any thread.

// Returns the pieces between separators: always at least one, and an empty one behind a last
// separator.
std::vector<std::string_view> split(std::string_view text, char separator);
// Returns the text without white space and line ends at both ends.
std::string_view trimmed(std::string_view text);
std::string lowercased(std::string_view text);
std::string replacingAll(std::string text, std::string_view what, std::string_view with);
bool isAscii(std::string_view text);
// UTF-8 as in RFC 3629.
bool isValidUtf8(std::string_view text);
// Returns the number of bytes of the well-formed sequence at the start of `text`; 0 when there is
// none.
std::size_t utf8SequenceLength(std::string_view text);
// Returns the number that the text is, from its first to its last byte; nothing when it is none, or
// one beyond the bounds of its type.
template <typename Number>
std::optional<Number> numberIn(std::string_view text, int base = 10) {
  Number number = {};
  const char* const behind = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), behind, number, base);
  return error == std::errc() && end == behind ? std::optional(number) : std::nullopt;
}
// Returns the index of the last ":"; -1 when there is none.
int lastColon(std::string_view text);

// Returns true when the path lies in the folder or in one below it. Both are absolute and have no
// ".." and no "/" at the end, but for the root folder. No folder lies below itself.
bool liesBelow(std::string_view path, std::string_view folder);
// Returns "b" for "/a/b" and "/" for "/". A "/" at the end does not count.
std::string_view lastPathComponent(std::string_view path);
// Returns "/a" for "/a/b", "/" for "/a" and "" for "a": no "/" at the end but for the root folder.
std::string deletingLastPathComponent(std::string_view path);

// How a path is written where each line is one path. An absolute path stands as it is unless it
// holds a line break. Such a one is escaped: the line begins with a backslash, which no absolute
// path does, and behind that every line break is "\x0A" and every backslash "\x5C"; all other
// bytes, invalid UTF-8 too, stay as they are.

// Returns the line for `path`, without a line break; the path itself when it needs no escape.
std::string escapedPathLine(std::string_view path);
// Returns the path that a line (without its line break) stands for. What escapedPathLine() does not
// write, a lone backslash for example, stays as it is.
std::string pathOfLine(std::string_view line);

}  // namespace quillo
