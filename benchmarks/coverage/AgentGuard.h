#pragma once

#include <string>
#include <vector>

#include "benchmarks/coverage/FolderGuard.h"
#include "benchmarks/support/Agent.h"

namespace bench {

// The agent, below `root`. guarded() is the folder that it guards in any case.
class AgentGuard : public FolderGuard {
 public:
  AgentGuard(const std::string& root, const std::string& build);

  const std::string& home() const { return home_; }
  const std::string& guarded() const { return agent_.guarded(); }
  const std::string& tree() const { return agent_.tree(); }
  // From the next start on, these as well.
  void guard(const std::vector<std::string>& folders) { folders_ = folders; }

  const char* title() const override { return "agent"; }
  const GuardLog& log() const override { return log_; }
  // It waits until a file holds still.
  Seconds patience() const override { return Seconds(10); }
  void start() override;
  void stop() override { agent_.stop(); }
  void saveDuringRestart(const Save& save) override;
  void saveWhileAway(const Save& save) override;

 private:
  void writePreferences(bool catchesUp) const;

  const std::string home_;
  Agent agent_;
  const GuardLog log_;
  std::vector<std::string> folders_;
};

}  // namespace bench
