#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillo {

// What was read of a daemon's configuration file (clamd.conf(5)).
struct DaemonConfiguration {
  // The number of the text encoding that was found: 4 UTF-8, 5 ISO Latin-1, 10 UTF-16; 0 when no
  // file was read.
  int encoding = 0;
  // The path behind the last "LocalSocket ", to the end of its line: comments count, nothing is
  // trimmed. Absent when there is none.
  std::optional<std::string> localSocket;
  // The folder of the definitions, if the file names one that is not commented out.
  std::optional<std::string> databaseDirectory;
};

// Pure: `bytes` is the file as it lies on the disk.
DaemonConfiguration parseDaemonConfiguration(const std::string& bytes);

// Whether the folder holds definitions other than the built-in one of the test file: false for a
// folder that is missing or cannot be read.
bool holdsRealDefinitions(const std::string& databaseDirectory);

}  // namespace quillo
