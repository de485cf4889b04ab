#pragma once

#include <optional>
#include <string>

namespace quillo {

class SystemLog;

// Where users are asked to send word of what should not happen.
inline constexpr const char* supportAddress = "support@vantrel.org";

// Speaks to the daemon over its UNIX-domain socket (unix(7), clamd(8)). Keeps no state; any thread.
class ClamdCtrl {
 public:
  explicit ClamdCtrl(SystemLog& log) : log_(log) {}

  // Sends the four-letter command and reads one reply, which is thrown away. Blocks until the
  // daemon answers or closes. True when the command could be written, and also, deliberately, when
  // there is no path; false, with the reason on standard output and error, when the socket could
  // not be made, connected or written.
  bool communicateWithSocketWithCommand(const std::optional<std::string>& path,
                                        const std::string& command);

 private:
  SystemLog& log_;
};

}  // namespace quillo
