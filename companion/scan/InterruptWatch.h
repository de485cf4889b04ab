#pragma once

#include <signal.h>

#include <array>
#include <functional>

#include "posix/UniqueFd.h"

namespace quillo {

class ThreadStarter;

// Has the first SIGINT, SIGTERM or SIGHUP end work in order instead of this process; a second one
// ends the process as ever. A signal that is ignored, as nohup(1) has SIGHUP, stays so. One at a
// time; the thread that makes it ends it, and what was done about signals before is done again.
class InterruptWatch {
 public:
  // `stop` is called on a thread of its own. Without a thread or a pipe the signals mean what they
  // always do.
  InterruptWatch(ThreadStarter& threads, std::function<void()> stop);
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  struct Handled {
    int signal = 0;
    struct sigaction before = {};
  };

  void handle();

  UniqueFd writer_;
  std::array<Handled, 3> signals_;  // a signal is 0 where nothing was changed
};

}  // namespace quillo
