#include "posix/Clock.h"

#include <thread>

namespace quillo {

Clock::Duration SystemClock::now() { return std::chrono::steady_clock::now().time_since_epoch(); }

std::chrono::system_clock::time_point SystemClock::wallTime() {
  return std::chrono::system_clock::now();
}

void SystemClock::sleepFor(Duration length) { std::this_thread::sleep_for(length); }

void SystemClock::waitOn(std::condition_variable& variable, std::unique_lock<std::mutex>& held,
                         Duration bound) {
  variable.wait_for(held, bound);
}

}  // namespace quillo
