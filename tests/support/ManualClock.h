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
  // Sets the calendar time, which passes from there on as the other does.
  void setWallTime(std::chrono::system_clock::time_point time);
  // Blocks until `count` threads are parked. Both return false when it does not come to that in
  // time.
  bool waitUntilParked(int count);
  // Blocks until `holds`, which must not ask this clock: it looks whenever a thread is parked.
  bool waitUntilParkedAnd(const std::function<bool()>& holds);
  // Blocks until a thread sleeps.
  bool waitUntilSleeping();
  int parked();

  // Called once, by the next thread that is about to wait on a condition, before it is parked and
  // with `held` still held.
  void beforeNextWait(std::function<void(std::unique_lock<std::mutex>& held)> hook);
  // Sleeping returns at once and time passes by as much: for tests of one thread.
  void setSleepsPassAtOnce(bool atOnce);
  // The total length of all sleeps so far.
  Duration slept();

 private:
  bool await(const std::function<bool()>& holds);
  int parkedLocked() const;

  struct Parked {
    Duration deadline;
    std::condition_variable* variable;
    std::mutex* mutex;
    bool woken = false;
  };

  std::mutex mutex_;
  std::condition_variable changed_;
  Duration now_{0};
  Duration setBy_{0};  // the calendar time
  Duration slept_{0};
  bool sleepsPassAtOnce_ = false;
  std::list<Parked> parked_;
  std::condition_variable timePassed_;
  std::list<Duration> sleepers_;
  std::function<void(std::unique_lock<std::mutex>&)> hook_;
};

// Time that passes at once, for tests of one thread: who sleeps or waits on it goes on when that
// much time has gone by.
class PassingClock : public Clock {
 public:
  void advance(Duration length) { now_ += length; }
  Duration now() override { return now_; }
  std::chrono::system_clock::time_point wallTime() override;
  void sleepFor(Duration length) override;
  void waitOn(std::condition_variable&, std::unique_lock<std::mutex>&, Duration bound) override {
    advance(bound);
  }

  // The total length of all sleeps so far.
  Duration slept{0};
  int sleeps = 0;
  // Called at each sleep, with their number so far.
  std::function<void(int number)> atSleep;

 private:
  Duration now_{0};
};

}  // namespace quillo
