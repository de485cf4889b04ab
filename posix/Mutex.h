#pragma once

#include <condition_variable>
#include <mutex>

#include "posix/Clock.h"

// Clang's thread-safety annotations (clang.llvm.org/docs/ThreadSafetyAnalysis.html): they state
// which lock guards what, and the clang preset proves it. Other compilers see nothing.
#if defined(__clang__)
#define QUILLO_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define QUILLO_THREAD_ATTRIBUTE(x)
#endif

#define QUILLO_CAPABILITY(name) QUILLO_THREAD_ATTRIBUTE(capability(name))
#define QUILLO_SCOPED_CAPABILITY QUILLO_THREAD_ATTRIBUTE(scoped_lockable)
#define QUILLO_GUARDED_BY(lock) QUILLO_THREAD_ATTRIBUTE(guarded_by(lock))
#define QUILLO_REQUIRES(...) QUILLO_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define QUILLO_EXCLUDES(...) QUILLO_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define QUILLO_ACQUIRE(...) QUILLO_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define QUILLO_RELEASE(...) QUILLO_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define QUILLO_ACQUIRED_AFTER(...) QUILLO_THREAD_ATTRIBUTE(acquired_after(__VA_ARGS__))
#define QUILLO_RETURN_CAPABILITY(lock) QUILLO_THREAD_ATTRIBUTE(lock_returned(lock))
#define QUILLO_NO_THREAD_SAFETY_ANALYSIS QUILLO_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace quillo {

// A std::mutex that clang's thread-safety analysis understands. Not recursive.
class QUILLO_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() QUILLO_ACQUIRE() { mutex_.lock(); }
  void unlock() QUILLO_RELEASE() { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

// Holds a Mutex for the length of a scope.
class QUILLO_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) QUILLO_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() QUILLO_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

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
