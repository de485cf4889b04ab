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

// Reads the file's bytes as they lie on the disk. A line of less than 13 characters names no
// socket;
// "#LocalSocket /a" names one like any other line, and what stands at the end of a line, a carriage
// return or a blank, belongs to the path. Pure; any thread.
LocalSocketLine discernLocalSocket(const std::string& bytes);

}  // namespace quillo
