#pragma once

#include "posix/Clock.h"

namespace quillo {

// A clock for one thread that goes on only when it is told to.
class HandClock final : public Clock {
 public:
  void advance(Duration length) { now_ += length; }

  Duration now() override { return now_; }
  std::chrono::system_clock::time_point wallTime() override {
    return start_ + std::chrono::duration_cast<std::chrono::system_clock::duration>(now_);
  }
  void sleepFor(Duration length) override { advance(length); }
  void waitOn(std::condition_variable&, std::unique_lock<std::mutex>&, Duration) override {}

 private:
  Duration now_{};
  std::chrono::system_clock::time_point start_ = std::chrono::system_clock::from_time_t(1795245000);
};

}  // namespace quillo
