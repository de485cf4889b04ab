#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace quillo::helper {

// How the program ends. The agent takes `lacksRights` to mean that an administrator has to make the
// program set-user-ID root, so no other failure may use it, and `eventsLost` to mean that files
// were changed of which it was not told.
enum ExitStatus { ended = 0, lacksRights = 1, misused = 2, failed = 3, eventsLost = 4 };

// Thrown when the program does not run with root's rights; the text says why.
struct LacksRights : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Thrown when nobody reads standard output any longer.
struct ReaderGone {};

// Thrown when the kernel dropped events, once those that it kept have been reported.
struct EventsLost {};

// Returns the failure of the last system call: `what` names the operation and its object.
inline std::system_error systemFailure(const std::string& what) {
  return std::system_error(errno, std::generic_category(), what);
}

// Connects to the system log (syslog(3)). Must precede the system call filter.
void openSystemLog();

// Writes one line to the system log, at most 60 a minute; the rest is counted and the count logged
// later, so that nobody can flood the log through this program.
void logWarning(std::string_view text);

// Returns `text` with every byte that is no printable ASCII, and the backslash, as \ooo.
std::string escaped(std::string_view text);

}  // namespace quillo::helper
