#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillo {

// A daemon as the process list shows it.
struct RunningDaemon {
  // Empty when the process list failed and showed nothing, which counts as a daemon that runs.
  std::string program;
  // Absent when the daemon was started without one.
  std::optional<std::string> configuration;
};

// Reads the process list's lines about the daemon, as one text: the program begins at the first
// "/", the configuration stands behind "--config-file=" or "-c " and runs to the end. Pure.
RunningDaemon parseProcessList(std::string_view text);

// The daemon that runs on this machine, whoever started it; absent when there is none. Waits for
// the process list. Throws PlatformException when no shell can be run.
std::optional<RunningDaemon> findRunningDaemon();

}  // namespace quillo
