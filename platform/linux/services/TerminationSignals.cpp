#include "platform/linux/services/TerminationSignals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <utility>

#include "platform/linux/services/Guarded.h"

namespace quillo {

TerminationSignals::TerminationSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&signals, number);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGPIPE, SIG_IGN);
  descriptor_.reset(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

void TerminationSignals::observe(std::function<void()> action) {
  notifier_ = std::make_unique<QSocketNotifier>(descriptor_.get(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                   [this, action = std::move(action)] {
                     signalfd_siginfo information;
                     while (read(descriptor_.get(), &information, sizeof information) > 0) {
                       guarded(action);
                     }
                   });
}

}  // namespace quillo
