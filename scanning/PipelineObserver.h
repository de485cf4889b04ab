#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "clamav/Verdict.h"

namespace quillo {

struct ScanProgress;

// Follows each file through the stations on its way to a verdict. Called from several threads, some
// of them with the queue's lock held: must be quick and must not call back.
class PipelineObserver {
 public:
  virtual ~PipelineObserver() = default;
  virtual void noticed(const std::string& path) = 0;
  virtual void becameStable(const std::string& path) = 0;
  virtual void scanStarted(const std::vector<std::string>& paths) = 0;
  virtual void scanEnded(const std::vector<std::string>& paths, int status) = 0;
  // The user aborted the scans before these were judged.
  virtual void abandoned(const std::vector<std::string>& paths) = 0;
};

// Follows what the scanners work on and what comes out. Called from their threads: must be quick
// and must not call back.
class ScanObserver {
 public:
  virtual ~ScanObserver() = default;
  // A run of the engine over so many files begins; runEnded() follows, whatever comes of it.
  virtual void runBegan(std::size_t files) = 0;
  virtual void runEnded(std::size_t files) = 0;
  // Every line that is about a file; whatever is done for an infected one is done already.
  virtual void verdictGiven(const Verdict& verdict) = 0;
};

// Follows how far a run of the engine has come, where its scanner says so: a few times a second at
// most. Called from the scanner's thread: must be quick and must not call back.
class ScanProgressObserver {
 public:
  virtual ~ScanProgressObserver() = default;
  virtual void progressed(const ScanProgress& progress) = 0;
};

}  // namespace quillo
