#include "watchers/RestartPauses.h"

#include <algorithm>

namespace quillo {

Clock::Duration RestartPauses::afterRun(Clock::Duration began, Clock::Duration ended) {
  if (isPausing() && ended - began < window) {
    pause_ = std::min(2 * pause_, longest);
    return pause_;
  }
  pause_ = Clock::Duration::zero();
  while (!restarts_.empty() && ended - restarts_.front() > window) {
    restarts_.pop_front();
  }
  if (restarts_.size() < freeRestarts) {
    restarts_.push_back(ended);
    return pause_;
  }
  restarts_.clear();
  pause_ = shortest;
  return pause_;
}

}  // namespace quillo
