#pragma once

#include <deque>
#include <functional>

namespace quillo {

// Requests of user and desktop, one at a time. While one waits for a child process the desktop
// stays alive and may bring more: they are held until it is done. Main thread.
class MainThreadRequests {
 public:
  // Performs the request now, or when those before it are done.
  void perform(std::function<void()> request);

 private:
  bool performing_ = false;
  std::deque<std::function<void()>> held_;
};

}  // namespace quillo
