#pragma once

#include <chrono>
#include <string>

#include "history/HistoryReader.h"
#include "posix/Mutex.h"

namespace quillo {

class Clock;

// How much was found lately, out of the history, for whoever asks the agent what it knows.
class RecentTotals {
 public:
  static constexpr std::chrono::hours recently{24 * 30};

  // `folder` is the agent's own for what it remembers.
  RecentTotals(Clock& clock, const std::string& folder) : clock_(clock), reader_(folder) {}

  // Counts what the history holds by now; nothing where it cannot be read. On threads that may wait
  // for the disk.
  void countAnew();
  // Returns what was counted last. Any thread; never waits for the disk.
  HistoryTotals totals();

 private:
  // Own synchronisation.
  Clock& clock_;

  // Held for as long as counting takes.
  Mutex reading_;
  HistoryReader reader_ QUILLO_GUARDED_BY(reading_);

  Mutex known_;
  HistoryTotals totals_ QUILLO_GUARDED_BY(known_);
};

}  // namespace quillo
