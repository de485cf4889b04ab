#pragma once

#include <string>
#include <string_view>

namespace quillo {

// How a path is written where each line is one path. An absolute path stands as it is unless it
// holds a line break. Such a one is escaped: the line begins with a backslash, which no absolute
// path does, and behind that every line break is "\x0A" and every backslash "\x5C"; all other
// bytes, invalid UTF-8 too, stay as they are. Pure functions on bytes; any thread.

// The line for `path`, without a line break; unchanged when it needs no escape.
std::string escapedPathLine(std::string_view path);
// The path that a line (without its line break) stands for; the reverse of the above. What the
// above does not write, a lone backslash for example, stays as it is.
std::string pathOfLine(std::string_view line);

}  // namespace quillo
