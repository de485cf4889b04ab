#pragma once

#include <functional>
#include <future>

#include "tests/support/Threads.h"

namespace quillo {

// The installed clamd detaches itself: its first process waits for a signal of the second, which it
// misses now and then (1.4), and then waits for ever. As long as this object lives, a first process
// that this process started is ended (SIGTERM) as soon as the daemon has been answering for a
// while.
class StarterCare {
 public:
  explicit StarterCare(std::function<bool()> answers);
  ~StarterCare();
  StarterCare(const StarterCare&) = delete;
  StarterCare& operator=(const StarterCare&) = delete;

 private:
  void look() const;

  const std::function<bool()> answers_;
  std::promise<void> over_;
  JoinedThreads thread_;
};

}  // namespace quillo
