#pragma once

#include <deque>

#include "posix/Clock.h"

namespace quillo {

// How long to wait before a program that ended by itself is started again: not at all as a rule. If
// it has been started again ten times within ten seconds, something is wrong that the next start
// will not mend: then it is a second, and twice as long after every further short run, up to thirty
// seconds, until a run has lasted. Owned by one thread.
class RestartPauses {
 public:
  static constexpr std::size_t freeRestarts = 10;
  static constexpr Clock::Duration window = std::chrono::seconds(10);
  static constexpr Clock::Duration shortest = std::chrono::seconds(1);
  static constexpr Clock::Duration longest = std::chrono::seconds(30);

  // The pause after a run that lasted from `began` to `ended`, times as a Clock tells them.
  Clock::Duration afterRun(Clock::Duration began, Clock::Duration ended);
  // Whether the program was started in vain too often and no run has lasted since.
  bool isPausing() const { return pause_ > Clock::Duration::zero(); }

 private:
  std::deque<Clock::Duration> restarts_;
  Clock::Duration pause_{0};
};

}  // namespace quillo
