#pragma once

#include <unistd.h>

#include <cstdio>

namespace quillo {

// Gives standard output and error back to where they went before, when the object goes.
class RestoredOutput {
 public:
  RestoredOutput() : output_(dup(STDOUT_FILENO)), error_(dup(STDERR_FILENO)) {}
  ~RestoredOutput() {
    restore();
    close(output_);
    close(error_);
  }
  RestoredOutput(const RestoredOutput&) = delete;
  RestoredOutput& operator=(const RestoredOutput&) = delete;

  void restore() {
    std::fflush(stdout);
    std::fflush(stderr);
    dup2(output_, STDOUT_FILENO);
    dup2(error_, STDERR_FILENO);
  }

 private:
  const int output_;
  const int error_;
};

}  // namespace quillo
