#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quillo {

// What a log and its old versions look like on disk.
struct LogAttributes {
  mode_t mode = 0640;
  std::optional<uid_t> user;
  std::optional<gid_t> group;
};

// One line of the configuration.
struct LogEntry {
  std::string path;
  LogAttributes attributes;
  int count = 0;  // old versions to keep
  // Kilobytes of 1024 bytes from which on the log is rotated; nothing: never by size.
  std::optional<std::uint64_t> sizeLimit;
  bool createIfMissing = false;  // flag C
  bool compress = false;         // flag J
};

// A line that cannot be understood: "FILE:LINE: REASON".
class ConfigurationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads the lines of newsyslog.conf(5), as the BSDs describe it, as far as a log is rotated by its
// size alone and nobody is signalled:
//     logfilename  [owner:group]  mode  count  size  *  flags
// with the flags C (create), J (bzip2) and N (no process to signal), N being required. The name
// ends at the first tab, so that it may hold blanks; in a line without a tab it ends at the first
// blank. Blanks and tabs separate the other fields. Throws ConfigurationError; `file` is for its
// text.
std::vector<LogEntry> parseConfiguration(std::string_view text, const std::string& file);

}  // namespace quillo
