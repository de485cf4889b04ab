#include "agent/RecentTotals.h"

#include "posix/Clock.h"

namespace quillo {

void RecentTotals::countAnew() {
  HistoryTotals totals;
  {
    MutexLock hold(reading_);
    reader_.open();
    totals = reader_.totalsSince(clock_.wallTime() - recently);
  }
  MutexLock hold(known_);
  totals_ = totals;
}

HistoryTotals RecentTotals::totals() {
  MutexLock hold(known_);
  return totals_;
}

}  // namespace quillo
