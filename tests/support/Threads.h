#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "posix/ThreadStarter.h"

namespace quillo {

// Real threads that are joined when the object goes: how every test starts one. Any thread.
class JoinedThreads final : public ThreadStarter {
 public:
  JoinedThreads() = default;
  explicit JoinedThreads(std::function<void()> body) { start(std::move(body)); }
  ~JoinedThreads() override { join(); }

  void start(std::function<void()> body) {
    std::lock_guard hold(mutex_);
    threads_.emplace_back(std::move(body));
  }
  void detachNewThread(const std::string& name, std::function<void()> body) override {
    {
      std::lock_guard hold(mutex_);
      names_.push_back(name);
    }
    start(std::move(body));
  }
  // Waits for all that were started so far.
  void join() {
    std::vector<std::thread> started;
    {
      std::lock_guard hold(mutex_);
      started.swap(threads_);
    }
    for (std::thread& thread : started) {
      thread.join();
    }
  }
  // Whether some were started and not joined yet.
  bool areLeft() {
    std::lock_guard hold(mutex_);
    return !threads_.empty();
  }
  std::vector<std::string> names() {
    std::lock_guard hold(mutex_);
    return names_;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> names_;
  std::vector<std::thread> threads_;
};

// A system that has no thread to give.
class NoThreads final : public ThreadStarter {
 public:
  void detachNewThread(const std::string&, std::function<void()>) override {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
};

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
    if (stopping_.exchange(true)) {
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
  JoinedThreads thread_;
};

}  // namespace quillo
