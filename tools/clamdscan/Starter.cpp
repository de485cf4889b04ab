#include "tools/clamdscan/Starter.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <utility>

namespace quillo::wrapper {

void Starter::obeyPauses() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTSTP);
  sigaddset(&signals, SIGCONT);
  UniqueFd descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (descriptor && sigprocmask(SIG_BLOCK, &signals, nullptr) == 0) {
    watched_[2].fd = descriptor.get();
    pauses_ = std::make_shared<Pauses>();
    pauses_->signals = std::move(descriptor);
  }
}

bool Starter::wantsPause() const {
  if (!pauses_) {
    return false;
  }
  // Of the two only the one that came last is pending (signal(7)).
  signalfd_siginfo signal = {};
  while (read(pauses_->signals.get(), &signal, sizeof signal) ==
         static_cast<ssize_t>(sizeof signal)) {
    pauses_->isWanted = signal.ssi_signo == SIGTSTP;
  }
  return pauses_->isWanted;
}

void Starter::checkPolled(const Watched& polled) {
  for (const pollfd& one : polled) {
    if ((one.revents & (POLLHUP | POLLERR)) != 0) {
      throw Gone();
    }
  }
}

void Starter::check() const {
  Watched polled = watched_;
  if (poll(polled.data(), polled.size(), 0) > 0) {
    checkPolled(polled);
  }
}

}  // namespace quillo::wrapper
