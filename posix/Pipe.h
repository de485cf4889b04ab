#pragma once

#include <string>

#include "posix/UniqueFd.h"

namespace quillo {

// The reading end of a pipe, read in chunks. Owned by one thread.
class PipeReader {
 public:
  PipeReader() = default;
  // Makes a pipe whose ends are both close-on-exec, and gives the writing end to `writer`.
  // Throws PlatformException when the system has none.
  static PipeReader open(UniqueFd& writer);

  int descriptor() const { return end_.get(); }
  // All data that stands in the pipe now, up to its capacity, so that a chunk ends where a writer's
  // atomic write ended (pipe(7)). Empty when there is none; atEnd() then tells why.
  std::string availableData();
  bool atEnd() const { return atEnd_; }
  void close() { end_.reset(); }

 private:
  UniqueFd end_;
  bool atEnd_ = false;
};

}  // namespace quillo
