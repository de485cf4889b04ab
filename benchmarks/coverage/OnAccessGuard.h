#pragma once

#include <memory>
#include <string>
#include <vector>

#include "benchmarks/coverage/FolderGuard.h"
#include "posix/ChildProcess.h"

namespace bench {

// clamonacc(8) with a clamd of its own, as Debian starts both: clamd as its user "clamav", the
// other as root, with no option but the log's.
class OnAccessGuard : public FolderGuard {
 public:
  struct Settings {
    std::string root;                  // for what the two need; made
    std::string database;              // clamd's folder of definitions
    std::vector<std::string> folders;  // that are guarded; the first in any case
    bool scansExtra = false;           // OnAccessExtraScanning
  };
  explicit OnAccessGuard(const Settings& settings);
  ~OnAccessGuard() override;

  const char* title() const override {
    return settings_.scansExtra ? "clamonacc, extra scanning" : "clamonacc";
  }
  const GuardLog& log() const override { return log_; }
  Seconds patience() const override { return Seconds(5); }
  void start() override;
  void stop() override;
  // It has no helper: it is started anew itself.
  void saveDuringRestart(const Save& save) override;
  void saveWhileAway(const Save& save) override { saveDuringRestart(save); }

 private:
  std::string configuration() const { return settings_.root + "/clamd.conf"; }
  void writeConfiguration() const;
  void awaitWatching();

  const Settings settings_;
  const GuardLog log_;
  std::unique_ptr<quillo::ChildProcess> daemon_;
  std::unique_ptr<quillo::ChildProcess> client_;
  int probes_ = 0;
};

}  // namespace bench
