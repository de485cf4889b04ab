#include "platform/linux/services/CleanStart.h"

#include <signal.h>

namespace quillo {

void startWithCleanSignals(void*) {
  for (int number = 1; number < NSIG; ++number) {
    signal(number, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace quillo
