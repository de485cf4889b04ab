#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <string>

namespace quillo::tests {

// What a process uses now. Throw std::exception when it has ended.
int openDescriptors(pid_t process);
int threadsOf(pid_t process);
// Whether it has the file of that path open.
bool hasOpen(pid_t process, const std::string& path);
// The most that it had in memory at once, in KiB.
long peakMemory(pid_t process);
// Returns so many KiB, and more where a sanitizer keeps what was freed.
long tolerated(long kibibytes);
// "R", "S", "T" and so on (proc(5)).
std::string stateOf(pid_t process);

// A process that may not use more of something as long as this object. `resource` is one of
// getrlimit(2), `most` is what it may have; the hard limit stays.
class Limit {
 public:
  Limit(pid_t process, __rlimit_resource resource, rlim_t most);
  ~Limit();
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;

 private:
  const pid_t process_;
  const __rlimit_resource resource_;
  rlimit before_{};
};

}  // namespace quillo::tests
