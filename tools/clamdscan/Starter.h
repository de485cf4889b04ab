#pragma once

#include <poll.h>

#include <array>
#include <memory>

#include "posix/UniqueFd.h"

namespace quillo::wrapper {

// Whoever started this program and reads its report. Nobody is to be scanned for, and no file moved
// for, once he has gone: his channel hangs up then, and a pipe that is the report's end has an
// error (poll(2)). He may have the work held up, by signals. One thread.
class Starter {
 public:
  // Thrown where the work is to end at once.
  struct Gone {};

  // Descriptors to watch; -1 for none.
  Starter(int channel, int output) : watched_{{{channel, 0, 0}, {output, 0, 0}, {-1, POLLIN, 0}}} {}

  // From now on SIGTSTP does not stop this process, but is his wish that no more files be handed
  // out, and SIGCONT the end of it (signalfd(2)): a process that is stopped loses its session with
  // the daemon. Where the system has no descriptor for that, they mean what they always do.
  void obeyPauses();
  // Returns whether that is his wish now.
  bool wantsPause() const;

  // What is to be polled together with other things; it can be read when his wish changes.
  using Watched = std::array<pollfd, 3>;
  const Watched& watched() const { return watched_; }
  // Throws Gone when that poll found it.
  static void checkPolled(const Watched& polled);
  // Polls by itself and throws Gone likewise.
  void check() const;

 private:
  struct Pauses {
    UniqueFd signals;
    bool isWanted = false;
  };

  Watched watched_;
  // Of all copies: a signal is read once.
  std::shared_ptr<Pauses> pauses_;
};

}  // namespace quillo::wrapper
