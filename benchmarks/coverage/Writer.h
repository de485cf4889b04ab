#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "posix/UniqueFd.h"

namespace bench {

// Runs steps as some user, each in a process of its own that lives, with all that the step left
// open, as long as this object. One thread.
class Writer {
 public:
  // Throws std::runtime_error.
  Writer();
  ~Writer();
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  // Returns what went wrong, or "" once the step is done.
  std::string run(uid_t user, const std::function<void()>& step);

 private:
  quillo::UniqueFd ending_;
  quillo::UniqueFd open_;
  std::vector<pid_t> processes_;
};

}  // namespace bench
