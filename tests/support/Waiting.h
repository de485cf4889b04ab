#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "posix/Pipe.h"
#include "posix/UniqueFd.h"

namespace quillo {

// How long a test waits for what has to happen before it fails.
inline constexpr std::chrono::seconds longestWait{20};

// Blocks until a descriptor (a pipe, a socket, a pidfd) can be read or has come to its end. Returns
// false when it has not within the limit.
bool awaitReadable(int descriptor, std::chrono::milliseconds limit = longestWait);

// Reads the line with which a server reports that it is up. Returns it without its end; throws
// std::runtime_error when none comes.
std::string awaitLine(PipeReader& reader);

// Blocks until the condition holds. Returns false when it does not within the limit. For what
// reports no change, as a mount or another process's state: it looks every ten milliseconds, and
// nothing else in the tests does.
bool awaitThat(const std::function<bool()>& holds, std::chrono::milliseconds limit = longestWait);

// The loop of both: `wait` returns when it is time to look again, after `left` at the latest.
bool awaitBy(const std::function<void(std::chrono::milliseconds left)>& wait,
             const std::function<bool()>& holds, std::chrono::milliseconds limit = longestWait);

// Reports what is written into a folder (inotify(7)), from its making on.
class FolderWatch {
 public:
  // Throws std::runtime_error when the folder cannot be watched.
  explicit FolderWatch(const std::string& folder);

  // As the function of this name, looking whenever something was written.
  bool awaitThat(const std::function<bool()>& holds,
                 std::chrono::milliseconds limit = longestWait) const;
  // Blocks until something is written, or for that long.
  void awaitChange(std::chrono::milliseconds limit) const;

 private:
  UniqueFd events_;
};

}  // namespace quillo
