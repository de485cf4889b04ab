#pragma once

#include <string>
#include <vector>

#include "benchmarks/support/ProcessFigures.h"
#include "benchmarks/support/Watcher.h"

namespace bench {

// A throw-away home with an engine tree and an agent that guards one folder in it, for the ordinary
// user. Everything lies below `root`.
class Agent final : public Watcher {
 public:
  // `build`: the folder of the release build.
  Agent(std::string root, const std::string& build);

  const std::string& guarded() const { return guarded_; }
  const std::string& tree() const { return tree_; }
  const std::vector<std::string>& environment() const { return environment_; }

  std::string name() const override { return "Vantrel Quillo"; }
  void start() override;
  // Ends it, and the daemon that it launched.
  void stop() override;
  std::vector<pid_t> processes() const override;
  std::string log() const override { return log_; }
  SightingLog::Lines lines() const override { return SightingLog::Lines::verdicts; }
  bool namesCleanFiles() const override { return true; }
  Seconds patience() const override { return Seconds(5); }
  // "NAME=VALUE" for its environment, from the next start on.
  void addToEnvironment(const std::string& variable) { environment_.push_back(variable); }
  // What the preferences say besides, from the next start on.
  void setPreferences(const std::string& lines);

  // Starts the agent and waits until it reports a file saved into the guarded folder. Returns the
  // time from the engine's answer to the first report.
  Seconds startAndAwaitWatching();
  Usage usage() const;
  Usage helperUsage() const;

 private:
  std::string readLog() const;
  void makeTree();

  std::string root_;
  std::string program_;
  std::string home_;
  std::string guarded_;
  std::string tree_;
  std::string log_;
  std::vector<std::string> environment_;
  pid_t pid_ = -1;
};

}  // namespace bench
