#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace quillo {

enum class DaemonState {
  absent,  // nobody listens, or somebody who is not trusted
  silent,  // somebody accepts connections but does not answer: loading definitions, or stopped
  answers
};

// Asks the clamd behind the UNIX-domain socket for a sign of life (PING, clamd(8)), waiting for the
// answer for at most `patience`. A socket that belongs to a process of none of the `trusted` users
// counts as absent: it could call everything clean. Any thread.
DaemonState pingDaemon(const std::string& socketPath, const std::vector<uid_t>& trusted,
                       std::chrono::milliseconds patience);

}  // namespace quillo
