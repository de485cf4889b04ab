#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quillo {

// Pieces of text and of paths. Pure functions on bytes; any thread.

// The pieces between separators; always at least one, and an empty one behind a last separator.
std::vector<std::string_view> split(std::string_view text, char separator);
// Without white space and line ends at both ends.
std::string_view trimmed(std::string_view text);
std::string lowercased(std::string_view text);
std::string replacingAll(std::string text, std::string_view what, std::string_view with);
bool isAscii(std::string_view text);
// Whether all of it is well-formed UTF-8 (RFC 3629).
bool isValidUtf8(std::string_view text);
// Bytes in the well-formed sequence at the start of `text`; 0 when there is none.
std::size_t utf8SequenceLength(std::string_view text);
// Index of the last ":" or -1 if there is none.
int lastColon(std::string_view text);

// Whether the path lies in the folder or in one below it; both absolute and without ".." or a "/"
// at the end, but for the root folder. No folder lies below itself.
bool liesBelow(std::string_view path, std::string_view folder);
// "/a/b" gives "b"; a "/" at the end does not count; "/" gives "/".
std::string_view lastPathComponent(std::string_view path);
// "/a/b" gives "/a", "/a" gives "/", "a" gives "". No "/" at the end but for the root folder.
std::string deletingLastPathComponent(std::string_view path);

}  // namespace quillo
