#pragma once

#include "benchmarks/support/PeerDaemon.h"
#include "benchmarks/support/Watcher.h"

namespace bench {

// clamonacc(8), started as Debian's unit starts it, but that it moves nothing away.
class ClamOnAcc final : public Watcher {
 public:
  enum class Scanning {
    shipped,  // OnAccessIncludePath and OnAccessExcludeUname, as it needs, and Debian's size limit
    extra     // with OnAccessExtraScanning besides
  };

  // Starts and stops that daemon with itself.
  ClamOnAcc(PeerDaemon& daemon, const std::string& folder, Scanning scanning,
            const std::string& largestFile = "5M");

  std::string name() const override;
  void start() override;
  void stop() override;
  std::vector<pid_t> processes() const override { return {pid_}; }
  std::string log() const override { return log_; }
  SightingLog::Lines lines() const override { return SightingLog::Lines::verdicts; }
  bool namesCleanFiles() const override { return false; }
  Seconds patience() const override { return Seconds(1.5); }

 private:
  PeerDaemon& daemon_;
  const Scanning scanning_;
  const std::string log_;
  const std::string configuration_;
  pid_t pid_ = -1;
};

}  // namespace bench
