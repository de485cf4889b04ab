#pragma once

#include <atomic>
#include <cstdint>

#include "posix/Mutex.h"

namespace quillo {

// How many scans and updates run now. Any thread.
class ScannerCount {
 public:
  explicit ScannerCount(Clock& clock) : locks(clock) {}

  // Returns the count, which is read without a lock.
  std::int32_t scannerCount() const { return count; }
  // Changes the count, which is not clamped, and wakes the animation.
  void modifyScannerCountBy(std::int32_t delta) {
    locks.throbberLock.lock();
    {
      MutexLock hold(locks.scannerCountLock);
      count += delta;
    }
    locks.throbberLock.signal();
    locks.throbberLock.unlock();
  }
  Condition& throbberLock() { return locks.throbberLock; }
  Mutex& scannerCountLock() { return locks.scannerCountLock; }

 private:
  struct Locks {
    explicit Locks(Clock& clock) : throbberLock(clock) {}
    Condition throbberLock;
    Mutex scannerCountLock QUILLO_ACQUIRED_AFTER(throbberLock);
  };

  // Own synchronisation.
  Locks locks;
  // Written with both locks held, in that order; read without.
  std::atomic<std::int32_t> count{0};
};

}  // namespace quillo
