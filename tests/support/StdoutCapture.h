#pragma once

#include <string>

namespace quillo {

// Standard output and error of this process, caught in a file for as long as the object lives.
class StdoutCapture {
 public:
  StdoutCapture();
  ~StdoutCapture();
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;

  // What was written so far; flushes what this process still holds.
  std::string text();
  // What has left the process so far: nothing is flushed for it.
  std::string written() const;

 private:
  int savedStdout_;
  int savedStderr_;
  int file_;
};

}  // namespace quillo
