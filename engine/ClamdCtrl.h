#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "clamav/ControlSocket.h"

namespace quillo {

class SystemLog;

// Where users are asked to send word of what should not happen.
inline constexpr const char* supportAddress = "support@vantrel.org";

// Speaks to the daemon over its UNIX-domain socket (unix(7), clamd(8)). Keeps no state; any thread.
class ClamdCtrl {
 public:
  explicit ClamdCtrl(SystemLog& log) : log_(log) {}

  // Who may get a command.
  struct Peers {
    std::vector<uid_t> users = trustedDaemonUsers();
    // Picks the process that listens; null where any of these users' will do.
    std::function<bool(pid_t process)> isMeant = nullptr;
  };

  // Sends the four-letter command and reads one reply, which is thrown away. Blocks until the
  // daemon answers or closes. Returns true when the command could be written, and also,
  // deliberately, when there is no path; false, with the reason on standard output and error, when
  // the socket could not be made, connected or written. Sends nothing to a socket that somebody
  // else may have put there, which counts as one that cannot be connected, nor, with a line in the
  // system's log, to a process that is not meant.
  bool communicateWithSocketWithCommand(const std::optional<std::string>& path,
                                        const std::string& command, const Peers& peers);
  bool communicateWithSocketWithCommand(const std::optional<std::string>& path,
                                        const std::string& command) {
    return communicateWithSocketWithCommand(path, command, Peers());
  }

 private:
  SystemLog& log_;
};

}  // namespace quillo
