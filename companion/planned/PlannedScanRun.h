#pragma once

#include <string>
#include <vector>

#include "companion/planned/PlannedScanCommand.h"
#include "companion/scan/ManualScan.h"

namespace quillo {

// Scans these absolute paths on this thread, as a scan by hand does, and returns what came of it,
// with the report as its words. SIGTERM, which a timer's service is ended with, and SIGINT end it
// in order. `history` may be null.
PlannedScanOutcome runToOutcome(const std::vector<std::string>& paths,
                                const ManualScanServices& services, ScanHistory* history);

}  // namespace quillo
