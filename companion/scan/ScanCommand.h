#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "companion/scan/FindActions.h"
#include "companion/scan/ManualScan.h"

namespace quillo {

// What the command needs. `history` and `allowed` may be null.
struct ScanCommandServices {
  ManualScanServices scan;
  ScanHistory* history = nullptr;
  AllowedFinds* allowed = nullptr;
};

// `vantrel scan PATH… [--json]`: scans what the words behind "scan" name, on this thread. Writes a
// line for each find and each file that was not scanned as it comes, and a report at the end; with
// --json one document at the end (docs/json.md). SIGINT ends it in order, and the report follows.
// Returns the exit status: 1 when anything was found, else 2 when anything was not scanned or the
// words are wrong, else 0.
int runScanCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                   const ScanCommandServices& services);

}  // namespace quillo
