#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryEntry.h"
#include "platform/PlannedScans.h"

namespace quillo {

// The latest scan of each of several plans, by the id of the plan; one without has none.
using LastScans = std::map<std::string, ScanRun>;

// Returns them as the history in that folder has them: the planned scans of exactly what is planned
// now, unless another plan is of the same. A time that came and went without a scan leaves no
// trace there. Nothing where there is no
// history that can be read. Any thread; may wait for the disk.
std::optional<LastScans> lastScansOf(const std::vector<PlannedScan>& scans,
                                     const std::string& folder);

}  // namespace quillo
