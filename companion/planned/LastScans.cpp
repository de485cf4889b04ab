#include "companion/planned/LastScans.h"

#include <algorithm>

#include "history/HistoryReader.h"
#include "history/HistoryStore.h"

namespace quillo {
namespace {

constexpr std::size_t atOnce = 200;

// The history does not say of which plan a scan was: of two of the same folders it could be
// either's.
bool hasTwin(const PlannedScan& plan, const std::vector<PlannedScan>& scans) {
  return std::any_of(scans.begin(), scans.end(), [&plan](const PlannedScan& other) {
    return other.id != plan.id && other.folders == plan.folders;
  });
}

bool isOf(const PlannedScan& plan, const ScanRun& run) {
  return run.source == ScanSource::planned && run.paths == pathsWithRoom(plan.folders);
}

}  // namespace

std::optional<LastScans> lastScansOf(const std::vector<PlannedScan>& scans,
                                     const std::string& folder) {
  HistoryReader reader(folder);
  if (reader.open() != HistoryReader::State::good) {
    return std::nullopt;
  }
  LastScans last;
  const HistorySelection chosen = reader.selectRuns();
  for (std::size_t row = 0; row < chosen.count() && last.size() < scans.size(); row += atOnce) {
    for (const ScanRun& run : reader.runs(chosen, row, std::min(atOnce, chosen.count() - row))) {
      for (const PlannedScan& plan : scans) {
        if (run.id != 0 && isOf(plan, run) && !hasTwin(plan, scans)) {
          // The latest come first.
          last.try_emplace(plan.id, run);
        }
      }
    }
  }
  return reader.state() == HistoryReader::State::good ? std::optional(last) : std::nullopt;
}

}  // namespace quillo
