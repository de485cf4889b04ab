#pragma once

#include <array>
#include <climits>
#include <string_view>

namespace quillo::helper {

// Collects whole lines and writes them to a descriptor, as many at once as fit into PIPE_BUF bytes:
// such a write to a pipe is atomic (pipe(7)), so that no line is ever torn. Not thread-safe.
class LineWriter {
 public:
  // `end` is a descriptor that becomes readable when nobody wants the lines any longer, or -1.
  LineWriter(int fd, int end) : fd_(fd), end_(end) {}

  // Adds a line made of two parts; false, and nothing is added, if it is longer than PIPE_BUF. May
  // write what was collected before, and then blocks as long as the pipe is full.
  // Throws ReaderGone, or std::system_error.
  bool add(std::string_view folder, std::string_view name);
  // Writes what is collected. Blocks and throws as add().
  void flush();

 private:
  void waitForRoom() const;

  int fd_;
  int end_;
  size_t used_ = 0;
  std::array<char, PIPE_BUF> buffer_{};
};

}  // namespace quillo::helper
