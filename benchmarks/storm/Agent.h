#pragma once

#include <string>
#include <vector>

#include "benchmarks/storm/Processes.h"

namespace bench {

// A throw-away home with an engine tree and an agent that guards one folder in it, for the ordinary
// user. Everything lies below `root`.
class Agent {
 public:
  // `build`: the folder of the release build.
  Agent(std::string root, const std::string& build);

  const std::string& guarded() const { return guarded_; }
  const std::string& tree() const { return tree_; }
  const std::vector<std::string>& environment() const { return environment_; }

  // Starts the agent and waits until it reports a file saved into the guarded folder. Returns the
  // time from the engine's answer to the first report.
  Seconds startAndAwaitWatching();
  // Ends it, and the daemon that it launched.
  void stop();

  // Waits until the log holds a verdict on so many files of the folder; returns how many were
  // infected.
  int awaitVerdicts(const std::string& folder, int files);
  Usage usage() const;
  Usage helperUsage() const;

 private:
  std::string readLog() const;
  void makeTree();
  void writePreferences();

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
