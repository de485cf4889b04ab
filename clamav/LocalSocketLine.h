#pragma once

#include <optional>
#include <string>

namespace quillo {

// How an agent learns the socket of a daemon from its clamd.conf(5), whatever the daemon itself
// would make of the file.
struct LocalSocketLine {
  // The number of the text encoding that was found: 4 UTF-8, 5 ISO Latin-1, 10 UTF-16; 0 when no
  // file was read.
  int encoding = 0;
  // What stands behind the last "LocalSocket ", to the end of its line or to the next one; absent
  // when no line counts.
  std::optional<std::string> path;
};

// Which lines count, and what of them.
struct LocalSocketRules {
  bool commentsCount = true;     // "#LocalSocket /a" names a socket like any other line
  bool lastLineCounts = true;    // not the first, as the daemon has it
  bool nothingIsTrimmed = true;  // a carriage return or a blank at the end belongs to the path
  std::size_t shortestLine = 13;
};

// Pure: `bytes` is the file as it lies on the disk.
LocalSocketLine discernLocalSocket(const std::string& bytes, const LocalSocketRules& rules = {});

}  // namespace quillo
