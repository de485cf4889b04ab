#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>

#include "history/HistoryReader.h"
#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

class ThreadStarter;

// How much was found lately, out of the history, for whoever asks the agent what it knows. A long
// history takes a moment to count: that is a hundredth of the time at most, however often there is
// news, unless the disk is what takes long.
class RecentTotals {
 public:
  static constexpr std::chrono::hours recently{24 * 30};
  static constexpr int restForEachCounting = 99;  // times as long as that took
  static constexpr std::chrono::minutes longestRest{5};

  // `folder` is the agent's own for what it remembers. `countedLater` is called, on any thread,
  // when a counting is over that had to wait.
  RecentTotals(Clock& clock, ThreadStarter& threads, const std::string& folder,
               std::function<void()> countedLater)
      : clock_(clock), threads_(threads), countedLater_(std::move(countedLater)), reader_(folder) {}

  // Counts what the history holds by now, or soon, on a thread of its own; nothing where it cannot
  // be read. On threads that may wait for the disk.
  void countAnew();
  // Returns what was counted last. Any thread; never waits for the disk.
  HistoryTotals totals();

 private:
  void count();

  // Constant after construction, or with own synchronisation.
  Clock& clock_;
  ThreadStarter& threads_;
  const std::function<void()> countedLater_;

  // Held for as long as counting takes.
  Mutex reading_;
  HistoryReader reader_ QUILLO_GUARDED_BY(reading_);

  Mutex known_;
  HistoryTotals totals_ QUILLO_GUARDED_BY(known_);
  Clock::Duration mayCountAt_ QUILLO_GUARDED_BY(known_){};
  bool isAwaited_ QUILLO_GUARDED_BY(known_) = false;
};

}  // namespace quillo
