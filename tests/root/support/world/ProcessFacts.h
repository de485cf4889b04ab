#pragma once

#include <sys/types.h>

#include <string>

namespace quillo::tests {

// A file of /proc/PID.
std::string fileOf(pid_t process, const std::string& name);
// The value of a line of /proc/PID/status; "none" if there is no such line.
std::string statusOf(pid_t process, const std::string& key);
// The process that marks, a child of the helper.
pid_t markerOf(pid_t helper);

}  // namespace quillo::tests
