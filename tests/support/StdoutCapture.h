#pragma once

#include <string>

#include "posix/UniqueFd.h"

namespace quillo {

// Restores where standard output and error went before, when the object goes.
class RestoredOutput {
 public:
  RestoredOutput();
  ~RestoredOutput() { restore(); }
  RestoredOutput(const RestoredOutput&) = delete;
  RestoredOutput& operator=(const RestoredOutput&) = delete;

  void restore();

 private:
  const UniqueFd output_;
  const UniqueFd error_;
};

// Standard output and error of this process, caught in a file for as long as the object lives.
class StdoutCapture {
 public:
  StdoutCapture();
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;

  // What was written so far; flushes what this process still holds.
  std::string text();
  // What has left the process so far: nothing is flushed for it.
  std::string written() const;

 private:
  const UniqueFd file_;
  RestoredOutput saved_;
};

}  // namespace quillo
