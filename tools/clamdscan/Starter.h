#pragma once

#include <poll.h>

#include <array>

namespace quillo::wrapper {

// Whoever started this program and reads its report. Nobody is to be scanned for, and no file moved
// for, once he has gone: his channel hangs up then, and a pipe that is the report's end has an
// error (poll(2)). One thread.
class Starter {
 public:
  // Thrown where the work is to end at once.
  struct Gone {};

  // Descriptors to watch; -1 for none.
  Starter(int channel, int output) : watched_{{{channel, 0, 0}, {output, 0, 0}}} {}

  // What is to be polled together with other things.
  using Watched = std::array<pollfd, 2>;
  const Watched& watched() const { return watched_; }
  // Throws Gone when that poll said so.
  static void checkPolled(const Watched& polled);
  // Looks by itself.
  void check() const;

 private:
  Watched watched_;
};

}  // namespace quillo::wrapper
