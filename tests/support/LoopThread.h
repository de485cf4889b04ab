#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>

namespace quillo {

// A thread that takes a worker's step again and again until it is stopped.
class LoopThread {
 public:
  explicit LoopThread(std::function<void()> step)
      : thread_([this, step = std::move(step)] {
          while (!stopping_) {
            step();
          }
          ended_.set_value();
        }) {}
  ~LoopThread() {
    stop([] {});
  }
  LoopThread(const LoopThread&) = delete;
  LoopThread& operator=(const LoopThread&) = delete;

  // Lets the current step be the last one. `wake` is done, again and again if need be, to bring a
  // step that waits to its end.
  void stop(const std::function<void()>& wake) {
    stopping_ = true;
    if (!thread_.joinable()) {
      return;
    }
    const auto ended = ended_.get_future();
    while (ended.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
      wake();
    }
    thread_.join();
  }

 private:
  std::atomic<bool> stopping_{false};
  std::promise<void> ended_;
  std::thread thread_;
};

}  // namespace quillo
