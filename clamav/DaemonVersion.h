#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillo {

// What a daemon says of itself (VERSION, clamd(8)).
struct DaemonVersion {
  // "ClamAV 1.4.3".
  std::string engine;
  // When the definitions were built that it has loaded; nothing when it has loaded neither main nor
  // daily.
  std::optional<std::chrono::system_clock::time_point> definitions;
};

// Reads "ClamAV 1.4.3/27823/Wed Nov 18 09:23:11 2026", the time of day being the machine's.
// Returns nothing for what is no such answer. Any thread.
std::optional<DaemonVersion> parseDaemonVersion(std::string_view answer);

// Asks the daemon behind the socket, which has to be of `trusted`, and waits for the answer for at
// most `patience`. Returns nothing without one that makes sense. Any thread.
std::optional<DaemonVersion> askDaemonVersion(const std::string& socketPath,
                                              const std::vector<uid_t>& trusted,
                                              std::chrono::milliseconds patience);

}  // namespace quillo
