#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/clamdscan/ClientLine.h"
#include "tools/clamdscan/ClientRun.h"
#include "tools/clamdscan/CommandLine.h"
#include "tools/clamdscan/EngineTree.h"
#include "tools/clamdscan/Report.h"

namespace quillo::front {

// One run of the real client.
struct Task {
  std::vector<std::string> words;  // after the options that every run has
  int standardInput = -1;
  int descriptorThree = -1;
  ClientLine::Known isKnown;
  std::function<void(const ClientLine&)> verdict;
};

// The real client with the tree's configuration. What it says of no path goes into the report, and
// what goes wrong with it too. One thread.
class Client {
 public:
  Client(const EngineTree& tree, const CommandLine& asked, Report& report, Clock& clock,
         Clock::Duration patience);

  // "" when the client came to its end by itself and had a daemon throughout; else why it may have
  // left things out.
  std::string run(const Task& task);
  // Exit status of the last run, when it exited.
  int lastStatus() const { return end_.code; }
  // The signal that ended a client, which then ends this program too; 0 if none.
  int endingSignal() const { return endingSignal_; }
  // The arguments of every run.
  std::vector<std::string> commonWords() const;

 private:
  void handle(const ClientLine& line);
  void loseDaemon(std::string_view line);
  void announceLostDaemon();
  void explain(const ClientEnd& end);

  const EngineTree& tree_;
  const CommandLine& asked_;
  Report& report_;
  Clock::Duration patience_;
  ClientRun runner_;
  ClientEnd end_;
  bool daemonLost_ = false;  // in this run
  bool complained_ = false;
  bool announced_ = false;
  std::string unusable_;
  int endingSignal_ = 0;
};

}  // namespace quillo::front
