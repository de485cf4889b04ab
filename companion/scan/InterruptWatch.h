#pragma once

#include <functional>

#include "posix/UniqueFd.h"

namespace quillo {

class ThreadStarter;

// Has the first SIGINT, SIGTERM or SIGHUP end work in order instead of this process; a second one
// ends the process as ever. One at a time; the thread that makes it ends it.
class InterruptWatch {
 public:
  // `stop` is called on a thread of its own. Without a thread or a pipe the signals mean what they
  // always do.
  InterruptWatch(ThreadStarter& threads, std::function<void()> stop);
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  void handle(bool handled);

  UniqueFd writer_;
};

}  // namespace quillo
