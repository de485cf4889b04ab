#pragma once

#include <deque>
#include <functional>

namespace quillo {

class Application;
class SystemLog;

// Requests of user and desktop, one at a time. While one waits for a child process the desktop
// stays alive and may bring more: they are held until it is done. One that fails is logged, with a
// beep, and does not keep others from being performed. Main thread.
class MainThreadRequests {
 public:
  MainThreadRequests(Application& application, SystemLog& log)
      : application_(application), log_(log) {}

  // Performs the request now, or when those before it are done.
  void perform(std::function<void()> request);
  // Performs it at once, whatever else is being performed.
  void attempt(const std::function<void()>& request);

 private:
  Application& application_;
  SystemLog& log_;
  bool performing_ = false;
  std::deque<std::function<void()>> held_;
};

}  // namespace quillo
