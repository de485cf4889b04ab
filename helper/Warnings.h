#pragma once

#include <string>
#include <string_view>

namespace quillo::helper {

// Connects to the system log (syslog(3)); before the system call filter is installed.
void openSystemLog();

// Writes one line to the system log: at most 60 a minute, the rest is counted and told later, so
// that nobody can flood the log through this program.
void logWarning(std::string_view text);

// `text` with every byte that is no printable ASCII, and the backslash, as \ooo.
std::string escaped(std::string_view text);

}  // namespace quillo::helper
