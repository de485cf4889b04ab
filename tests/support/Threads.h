#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "posix/ThreadStarter.h"

namespace quillo {

// Real threads whose end is waited for when the object goes.
class JoinedThreads final : public ThreadStarter {
 public:
  ~JoinedThreads() override { join(); }
  void detachNewThread(const std::string& name, std::function<void()> body) override {
    std::lock_guard hold(mutex_);
    names_.push_back(name);
    threads_.emplace_back(std::move(body));
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

}  // namespace quillo
