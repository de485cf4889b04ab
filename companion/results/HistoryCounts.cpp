#include "companion/results/HistoryCounts.h"

#include "platform/LocalizedStrings.h"

namespace quillo {
namespace {

using State = HistoryReader::State;

// One that is not there yet has nothing in it, which is true.
Wording problemOf(const HistoryReader& reader) {
  switch (reader.state()) {
    case State::good:
    case State::missing:
      return {};
    case State::newer:
      return {"WINDOW_HISTORY_NEWER", {}};
    case State::broken:
      return {"WINDOW_HISTORY_BROKEN", {}};
    case State::unreadable:
      break;
  }
  return {"WINDOW_HISTORY_UNREADABLE", {reader.reason()}};
}

}  // namespace

RecentCounts::Counts HistoryCounts::countsSince(std::chrono::system_clock::time_point since) {
  const HistoryTotals totals = reader_.totalsSince(since);
  Counts counts;
  if (reader_.state() == State::good) {
    counts.begins = reader_.beginning();
  }
  // Damage shows only where it is read.
  const Wording problem = problemOf(reader_);
  if (!problem.empty()) {
    counts.problem = problem.in(strings_);
    counts.begins.reset();
    return counts;
  }
  counts.found = totals.found;
  counts.notScanned = totals.notScanned;
  return counts;
}

}  // namespace quillo
