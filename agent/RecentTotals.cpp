#include "agent/RecentTotals.h"

#include <algorithm>
#include <system_error>

#include "posix/ThreadStarter.h"

namespace quillo {

void RecentTotals::countAnew() {
  Clock::Duration rest{};
  {
    MutexLock hold(known_);
    rest = std::max(mayCountAt_ - clock_.now(), Clock::Duration());
    if (rest > Clock::Duration() && std::exchange(isAwaited_, true)) {
      return;
    }
  }
  if (rest == Clock::Duration()) {
    count();
    return;
  }
  try {
    threads_.detachNewThread("totals", [this, rest] {
      clock_.sleepFor(rest);
      {
        // What comes from now on may be missed by this counting.
        MutexLock hold(known_);
        isAwaited_ = false;
      }
      count();
      countedLater_();
    });
  } catch (const std::system_error&) {
    // The next news has another try.
    MutexLock hold(known_);
    isAwaited_ = false;
  }
}

void RecentTotals::count() {
  HistoryTotals totals;
  Clock::Duration taken{};
  {
    MutexLock hold(reading_);
    const Clock::Duration begin = clock_.now();
    reader_.open();
    totals = reader_.totalsSince(clock_.wallTime() - recently);
    reader_.close();
    taken = clock_.now() - begin;
  }
  MutexLock hold(known_);
  totals_ = totals;
  mayCountAt_ = clock_.now() + std::min<Clock::Duration>(restForEachCounting * taken, longestRest);
}

HistoryTotals RecentTotals::totals() {
  MutexLock hold(known_);
  return totals_;
}

}  // namespace quillo
