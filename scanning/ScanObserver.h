#pragma once

#include <cstddef>

#include "clamav/Verdict.h"

namespace quillo {

// Is told what the scanners work on and what comes out. Called from their threads; must be quick
// and must not call back.
class ScanObserver {
 public:
  virtual ~ScanObserver() = default;
  // A run of the engine over so many files begins; its end is told whatever comes of it.
  virtual void runBegan(std::size_t files) = 0;
  virtual void runEnded(std::size_t files) = 0;
  // Of every line that is about a file; whatever is done for an infected one is done already.
  virtual void verdictGiven(const Verdict& verdict) = 0;
};

}  // namespace quillo
