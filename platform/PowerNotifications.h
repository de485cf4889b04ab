#pragma once

#include <functional>

namespace quillo {

// Sleep and wake of the machine. Main thread.
class PowerNotifications {
 public:
  virtual ~PowerNotifications() = default;
  // `willSleep` has returned before the machine sleeps, as far as the system grants the time.
  virtual void observe(std::function<void()> willSleep, std::function<void()> didWake) = 0;
};

}  // namespace quillo
