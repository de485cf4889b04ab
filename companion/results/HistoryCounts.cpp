#include "companion/results/HistoryCounts.h"

#include "platform/LocalizedStrings.h"

namespace quillo {
namespace {

using State = HistoryReader::State;

// One that is not there yet has nothing in it, which is true.
Wording problemOf(State state, const std::string& reason) {
  switch (state) {
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
  return {"WINDOW_HISTORY_UNREADABLE", {reason}};
}

}  // namespace

RecentCounts::Counts HistoryCounts::countsSince(std::chrono::system_clock::time_point since) {
  const State state = reader_.open();
  Counts counts;
  const Wording problem = problemOf(state, reader_.reason());
  if (!problem.empty()) {
    counts.problem = problem.in(strings_);
    return counts;
  }
  const HistoryTotals totals = reader_.totalsSince(since);
  counts.found = totals.found;
  counts.notScanned = totals.notScanned;
  return counts;
}

}  // namespace quillo
