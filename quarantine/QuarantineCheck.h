#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quarantine/QuarantineStore.h"

namespace quillo {

class ChildProcess;

// How the scanner is looked after while it runs.
struct QuarantineCheckCare {
  // One that says nothing for so long is ended. No file of the largest size takes as long.
  std::chrono::milliseconds longestSilence = std::chrono::minutes(15);
  // Keeps a hold on it, as long as what is returned lives, for whoever ends scanners.
  std::function<std::shared_ptr<void>(ChildProcess& scanner)> hold = {};
};

// What a new scan of files in the quarantine came to.
struct QuarantineCheckResult {
  struct Checked {
    QuarantinedFile file;
    QuarantineRecord::Check check = QuarantineRecord::Check::notScanned;
    std::string detail;         // the threat, or in the engine's words why it was not scanned
    bool isNewlyClean = false;  // it was not known to be clean before
    // Why there is no result; of `notNewer` nothing was found, by definitions that do not know more
    // than those that found it.
    enum class Why { said, silence, changed, notNewer };
    Why why = Why::said;
  };
  std::vector<Checked> files;  // in the order that was asked for
  std::string problem;         // why the scanner could not be run; "" when it was

  std::size_t count(QuarantineRecord::Check check) const;
};

// Has the engine scan files in the quarantine again where they lie, through the tree's own scanner,
// and notes in their records what it says. Nothing is moved. Of a file that could not be scanned
// the record keeps what was known. `definitions` is when the ones in use were built; where they are
// none, or not newer than those that found a file, it is not called clean. Takes as long as the
// scan, whose end is seen to. Any thread.
QuarantineCheckResult checkQuarantine(const QuarantineStore& store, const std::string& scanner,
                                      const std::vector<QuarantinedFile>& files,
                                      QuarantineRecord::Time definitions,
                                      const QuarantineCheckCare& care = {});

}  // namespace quillo
