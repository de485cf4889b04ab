#pragma once

#include <mutex>

#include "posix/ThreadAnnotations.h"

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

}  // namespace quillo
