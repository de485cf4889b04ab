#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillo {

// A daemon as its command line shows it.
struct RunningDaemon {
  // Empty where nothing is shown that can be run.
  std::string program;
  // Absent when the daemon was started without one, or with one that cannot be used.
  std::optional<std::string> configuration;
};

// Reads the process list's lines about the daemon, as one text: the program begins at the first
// "/", the configuration stands behind "--config-file=" or "-c " and runs to the end. Pure.
RunningDaemon parseProcessList(std::string_view text);

// The configuration file that a command line names: "-c FILE", "-cFILE", "--config-file=FILE" or
// "--config-file FILE" (clamd(8)); empty when it names none. `words` holds the program's name
// first. Pure.
std::string configurationOption(const std::vector<std::string>& words);

}  // namespace quillo
