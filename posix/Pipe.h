#pragma once

#include <optional>
#include <string>
#include <utility>

#include "posix/UniqueFd.h"

namespace quillo {

class PipeReader;

// A new pipe, both ends close-on-exec, before its ends are shared out. pipe(2). Owned by one
// thread.
class Pipe {
 public:
  // Returns nothing, with errno, when the system has none.
  static std::optional<Pipe> make();
  // Returns the reading end, which never blocks a read; nothing when it cannot be made so, or was
  // taken.
  std::optional<PipeReader> fileHandleForReading();
  UniqueFd takeWriter() { return std::move(writer_); }

 private:
  UniqueFd reader_;
  UniqueFd writer_;
};

// The reading end of a pipe, read in chunks. Owned by one thread.
class PipeReader {
 public:
  PipeReader() = default;
  explicit PipeReader(UniqueFd end) : end_(std::move(end)) {}
  // Returns the reading end of a new pipe, both ends close-on-exec, and sets `writer` to the other.
  // Throws PlatformException when the system has none.
  static PipeReader open(UniqueFd& writer);

  int descriptor() const { return end_.get(); }
  // Returns all data that stands in the pipe now, up to its capacity, so that a chunk ends where a
  // writer's atomic write ended (pipe(7)); "" when there is none, at the end (atEnd()) or so far.
  std::string availableData();
  bool atEnd() const { return atEnd_; }
  void close() { end_.reset(); }

 private:
  UniqueFd end_;
  bool atEnd_ = false;
};

}  // namespace quillo
