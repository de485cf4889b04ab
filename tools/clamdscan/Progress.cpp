#include "tools/clamdscan/Progress.h"

#include <utility>

#include "tools/clamdscan/Report.h"

namespace quillo::wrapper {

void Progress::judged(const Job& job) {
  now_.bytes += static_cast<std::uint64_t>(job.size);
  if (std::exchange(passed_, report_.passed()) < report_.passed()) {
    now_.cleanBytes += static_cast<std::uint64_t>(job.size);
  }
  now_.path = job.entries.front().shown;
  if (clock_.now() - said_ >= shortestBetween) {
    say();
  }
}

void Progress::beforeWaiting(bool holds) {
  const bool changes = holds != now_.holds;
  now_.holds = holds;
  if (changes || clock_.now() - said_ >= shortestBetween) {
    say();
  }
}

void Progress::end() {
  now_.holds = false;
  say();
}

void Progress::say() {
  VerdictSender* const channel = report_.channel();
  if (channel == nullptr || !channel->wantsProgress()) {
    return;
  }
  now_.clean = report_.passed();
  now_.found = report_.infections();
  now_.notScanned = report_.leftOut();
  if (now_ == last_) {
    return;
  }
  channel->reportProgress(now_);
  last_ = now_;
  said_ = clock_.now();
}

}  // namespace quillo::wrapper
