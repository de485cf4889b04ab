#pragma once

#include <functional>
#include <string>

namespace quillo {

// Starts threads that nobody joins.
class ThreadStarter {
 public:
  virtual ~ThreadStarter() = default;
  // Runs `body` on a new thread named `name` (at most 15 characters are shown,
  // pthread_setname_np(3)). Throws std::system_error when the system has no thread to give. Any
  // thread.
  virtual void detachNewThread(const std::string& name, std::function<void()> body) = 0;
};

// Real threads. An exception that reaches the end of `body` is handed to `report` as text and goes
// no further.
class DetachedThreads final : public ThreadStarter {
 public:
  explicit DetachedThreads(std::function<void(const std::string&)> report)
      : report_(std::move(report)) {}
  void detachNewThread(const std::string& name, std::function<void()> body) override;

 private:
  const std::function<void(const std::string&)> report_;
};

}  // namespace quillo
