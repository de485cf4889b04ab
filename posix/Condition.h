#pragma once

#include <condition_variable>
#include <mutex>

#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

// A lock and a condition variable in one object, as the workers use them: lock, wait or signal
// once, unlock. A wait may return early, and returns after `longestWait` at the latest, so that a
// signal that fell between a caller's test and its wait delays work by that much and never strands
// it.
class QUILLO_CAPABILITY("condition") Condition {
 public:
  static constexpr Clock::Duration longestWait = std::chrono::seconds(30);

  explicit Condition(Clock& clock) : clock_(clock) {}
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void lock() QUILLO_ACQUIRE() { mutex_.lock(); }
  void unlock() QUILLO_RELEASE() { mutex_.unlock(); }
  // Releases the lock while it waits and holds it again when it returns.
  void wait() QUILLO_REQUIRES(this) { waitFor(longestWait); }
  // As wait(), and returns after `bound` at the latest.
  void waitFor(Clock::Duration bound) QUILLO_REQUIRES(this) {
    // The caller took the lock with lock() and gives it back with unlock(): only lend it.
    std::unique_lock<std::mutex> held(mutex_, std::adopt_lock);
    clock_.waitOn(variable_, held, bound);
    held.release();
  }
  // Wakes at most one waiter.
  void signal() QUILLO_REQUIRES(this) { variable_.notify_one(); }

 private:
  Clock& clock_;
  std::mutex mutex_;
  std::condition_variable variable_;
};

}  // namespace quillo
