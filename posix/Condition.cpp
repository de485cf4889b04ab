#include "posix/Condition.h"

namespace quillo {

void Condition::waitFor(Clock::Duration bound) {
  // The caller took the lock with lock() and gives it back with unlock(): only lend it.
  std::unique_lock<std::mutex> held(mutex_, std::adopt_lock);
  clock_.waitOn(variable_, held, bound);
  held.release();
}

}  // namespace quillo
