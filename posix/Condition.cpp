#include "posix/Condition.h"

namespace quillo {

void Condition::wait() {
  // The caller took the lock with lock() and gives it back with unlock(): only lend it.
  std::unique_lock<std::mutex> held(mutex_, std::adopt_lock);
  clock_.waitOn(variable_, held, longestWait);
  held.release();
}

}  // namespace quillo
