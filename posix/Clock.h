#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace quillo {

// Time as the program sees it. Everything that waits is handed a Clock, so that a test decides when
// time passes. All operations may be called from any thread.
class Clock {
 public:
  using Duration = std::chrono::nanoseconds;

  virtual ~Clock() = default;

  // Returns the time since an arbitrary start; never runs backwards.
  virtual Duration now() = 0;
  // Returns the calendar time.
  virtual std::chrono::system_clock::time_point wallTime() = 0;
  // Returns when `length` has passed. Not cut short by signals.
  virtual void sleepFor(Duration length) = 0;
  // Waits on `variable`, whose lock the caller holds through `held`. Returns after a notification,
  // after `bound`, or early for no reason, as condition waits may.
  virtual void waitOn(std::condition_variable& variable, std::unique_lock<std::mutex>& held,
                      Duration bound) = 0;
};

// The machine's own time.
class SystemClock final : public Clock {
 public:
  Duration now() override;
  std::chrono::system_clock::time_point wallTime() override;
  void sleepFor(Duration length) override;
  void waitOn(std::condition_variable& variable, std::unique_lock<std::mutex>& held,
              Duration bound) override;
};

}  // namespace quillo
