#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/scan/ManualScan.h"
#include "posix/FileIdentity.h"

namespace quillo {

class LocalizedStrings;

// What became of one thing that a scan looked at, as a row of its tables.
struct ScanFinding {
  enum class Done { leftInPlace, moved, notMoved, allowed, clean, unknown };

  std::string path;    // the file that the engine looked at: bytes
  std::string threat;  // "" where it was not scanned
  std::string reason;  // why it was not scanned, or not moved
  std::string destination;
  Done done = Done::leftInPlace;
  Verdict verdict;
  std::optional<FileIdentity> found = {};  // the file as it lay there when that was said
};

// Scans of chosen files in words of the user's language. Any thread.
class ScanWords {
 public:
  explicit ScanWords(LocalizedStrings& strings) : strings_(strings) {}

  std::string text(const std::string& key) const;
  // Returns the text of `key`_MANY with the number, or that of `key`_ONE.
  std::string counted(const std::string& key, std::uint64_t count) const;

  // Returns what is going on, how much is done and what is left of the time, "" where unknown.
  std::string phase(const ManualScanState& state) const;
  std::string progress(const ManualScanState& state) const;
  std::string timeLeft(const ManualScanState& state) const;
  // Returns what was done about a find.
  std::string done(const ScanFinding& finding) const;
  // Returns the report in sentences: what was found, what was known already, what was not
  // scanned, what was not reached, and what to do about a problem.
  std::vector<std::string> report(const ManualScanResult& result) const;
  std::string problem(ManualScanResult::Problem problem) const;

 private:
  LocalizedStrings& strings_;
};

}  // namespace quillo
