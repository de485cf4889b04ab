#pragma once

#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

// The time of one worker that can be stopped: who sleeps on it then, or wants to, gets Stopped
// thrown, and so leaves whatever it was waiting in. One worker; stop() from any thread.
class StoppableClock final : public Clock {
 public:
  struct Stopped {};

  explicit StoppableClock(Clock& clock) : clock_(clock), sleeping_(clock) {}

  void stop();
  bool isStopped();

  Duration now() override { return clock_.now(); }
  std::chrono::system_clock::time_point wallTime() override { return clock_.wallTime(); }
  void sleepFor(Duration length) override;
  void waitOn(std::condition_variable& variable, std::unique_lock<std::mutex>& held,
              Duration bound) override {
    clock_.waitOn(variable, held, bound);
  }

 private:
  Clock& clock_;
  Condition sleeping_;
  bool isStopped_ QUILLO_GUARDED_BY(sleeping_) = false;
};

}  // namespace quillo
