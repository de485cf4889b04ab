#include "agent/ScannerCount.h"

namespace quillo {

void ScannerCount::modifyScannerCountBy(std::int32_t delta) {
  locks.throbberLock.lock();
  {
    MutexLock hold(locks.scannerCountLock);
    count += delta;
  }
  locks.throbberLock.signal();
  locks.throbberLock.unlock();
}

}  // namespace quillo
