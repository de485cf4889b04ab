#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/Waiting.h"

namespace quillo::tests {

// How long a test waits for what has to happen.
constexpr std::chrono::seconds deadline = longestWait;

// Collects the lines that come out of a pipe. Not thread-safe.
class Lines {
 public:
  // Owns `fd`, the reading end, if it is one.
  explicit Lines(int fd);
  ~Lines();
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  // Reads until a line equals `line`; false at the deadline or the end of the pipe.
  bool waitFor(const std::string& line, std::chrono::milliseconds limit = deadline);
  // Reads until all have come for which `isWanted` is true.
  bool waitForCount(size_t count, const std::function<bool(const std::string&)>& isWanted);
  // Reads until the end of the pipe.
  bool waitForEnd();
  // All lines so far.
  const std::vector<std::string>& all() const { return lines_; }
  size_t count(const std::string& line) const;
  bool contains(const std::string& line) const { return count(line) > 0; }
  // Forgets the lines so far.
  void clear() { lines_.clear(); }
  // Closes the reading end, and takes another.
  void reset(int fd = -1);

 private:
  enum class Outcome { more, end, timeout };
  Outcome readMore(std::chrono::steady_clock::time_point until);

  int fd_;
  std::string partial_;
  std::vector<std::string> lines_;
};

// Stands in for the system log (syslog(3)) of the world that a test runs in.
class SystemLogListener {
 public:
  SystemLogListener();
  ~SystemLogListener();
  SystemLogListener(const SystemLogListener&) = delete;
  SystemLogListener& operator=(const SystemLogListener&) = delete;

  // Waits for the next message; empty at the deadline.
  std::string next(std::chrono::milliseconds limit = deadline);

 private:
  int socket_;
};

}  // namespace quillo::tests
