#pragma once

#include <cstddef>
#include <string>

namespace quillo {

// What the engine says of one file.
struct Verdict {
  std::string path;
  std::string threat;  // empty for a clean file
};

// Is told what the scanners work on and what comes out. Called from their threads; must be quick
// and must not call back.
class ScanObserver {
 public:
  virtual ~ScanObserver() = default;
  // A run of the engine over so many files begins; its end is told whatever comes of it.
  virtual void runBegan(std::size_t files) = 0;
  virtual void runEnded(std::size_t files) = 0;
  virtual void verdictGiven(const Verdict& verdict) = 0;
};

}  // namespace quillo
