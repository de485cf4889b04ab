#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace quillo {

class GrowlApplicationBridge;
class LocalizedStrings;

// What a scan came to.
struct PlannedScanOutcome {
  std::uint64_t found = 0;
  bool isComplete = true;         // everything was scanned
  bool isStopped = false;         // it was ended early
  bool lacksDefinitions = false;  // so that nothing real could be found
  std::string words;              // the report, for people
};

struct PlannedScanServices {
  LocalizedStrings& localizedStrings;
  GrowlApplicationBridge& growl;
  // Scans these absolute paths, any bytes, and puts what is found into the history.
  std::function<PlannedScanOutcome(const std::vector<std::string>& paths)> scan;
  // Has the agent show what came of it, a title and the report on the lines below: there the
  // notification has a button, which nobody could press once this process has ended. Returns false
  // where no agent does that.
  std::function<bool(const std::string& report, bool isFind)> showByAgent = {};
};

// `vantrel scan --planned ID -- WHAT…`, as a timer runs it, of which `words` are those behind
// "scan": scans, and shows in a notification what came of it. WHAT is a path or its URI (RFC 8089).
// Returns the exit status: 1 when anything was found, else 143, as a shell says it of SIGTERM, when
// it was ended early, else 2 when anything was not scanned or the words are wrong, else 0. Main
// thread.
int runPlannedScan(const std::vector<std::string>& words, std::ostream& errors,
                   const PlannedScanServices& services);
// Returns true when these words behind "scan" are of a planned scan. Pure.
bool isPlannedScan(const std::vector<std::string>& words);

}  // namespace quillo
