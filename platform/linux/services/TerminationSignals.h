#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

#include "posix/UniqueFd.h"

namespace quillo {

// Makes of SIGTERM, SIGINT and SIGHUP a call on the main thread (signalfd(2)), and of a closed pipe
// an error instead of a signal. Must be made before any thread is started, so that all of them
// leave these signals alone.
class TerminationSignals {
 public:
  TerminationSignals();
  // From now on each signal calls `action`. Main thread, with an application object made.
  void observe(std::function<void()> action);

 private:
  UniqueFd descriptor_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace quillo
