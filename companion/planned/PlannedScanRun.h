#pragma once

#include <functional>
#include <string>
#include <vector>

#include "companion/planned/PlannedScanCommand.h"
#include "companion/scan/ManualScan.h"

namespace quillo {

// Scans these absolute paths on this thread once the engine answers, or may not come any more, as a
// scan by hand does, and returns what came of it, with the report as its words. SIGTERM, which a
// timer's service is ended with, and SIGINT end it in order. `history` may be null.
PlannedScanOutcome runToOutcome(const std::vector<std::string>& paths,
                                const ManualScanServices& services, ScanHistory* history,
                                const std::function<bool()>& engineAnswers);

// Waits until the engine's daemon answers, some minutes at most: at a log-in the timer may be
// sooner than whoever loads it. Returns whether it does, false soon once `isEnded` says so. May
// wait for the disk and the daemon; any thread.
bool awaitEngine(Clock& clock, const std::function<bool()>& answers,
                 const std::function<bool()>& isEnded);
// Returns whether the daemon of that engine answers, or works and cannot; true where nothing says
// how to reach it, which a scan then tells.
bool isEngineThere(const std::string& engine);

}  // namespace quillo
