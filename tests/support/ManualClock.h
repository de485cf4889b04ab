#pragma once

#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>

#include "posix/Clock.h"

namespace quillo {

// Time that passes only when a test says so. A thread that sleeps or waits on it is parked; the
// test can wait until so many are.
class ManualClock final : public Clock {
 public:
  Duration now() override;
  std::chrono::system_clock::time_point wallTime() override;
  void sleepFor(Duration length) override;
  void waitOn(std::condition_variable& variable, std::unique_lock<std::mutex>& held,
              Duration bound) override;

  // Lets that much time pass and wakes whoever was parked until then.
  void advance(Duration length);
  // Blocks until `count` threads are parked; false after ten real seconds without.
  bool waitUntilParked(int count);
  int parked();

  // Called once, by the next thread that is about to wait on a condition, before it is parked and
  // with `held` still held.
  void beforeNextWait(std::function<void(std::unique_lock<std::mutex>& held)> hook);
  // Sleeping returns at once and time passes by as much: for tests of one thread.
  void setSleepsPassAtOnce(bool atOnce);
  // The total length of all sleeps so far.
  Duration slept();

 private:
  struct Parked {
    Duration deadline;
    std::condition_variable* variable;
    std::mutex* mutex;
    bool woken = false;
  };

  std::mutex mutex_;
  std::condition_variable changed_;
  Duration now_{0};
  Duration slept_{0};
  bool sleepsPassAtOnce_ = false;
  std::list<Parked> parked_;
  std::condition_variable timePassed_;
  std::list<Duration> sleepers_;
  std::function<void(std::unique_lock<std::mutex>&)> hook_;
};

}  // namespace quillo
