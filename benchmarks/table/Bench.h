#pragma once

#include <memory>
#include <string>
#include <vector>

#include "benchmarks/support/Agent.h"
#include "benchmarks/support/PeerDaemon.h"
#include "benchmarks/support/Table.h"

namespace bench {

// What every group stands on: an agent in a home of its own, the peers' daemon, and a folder for
// what is measured, all in one file system that is gone afterwards.
class Bench {
 public:
  // `build`: the folder of the release build, by a name that the cover over /tmp does not hide.
  // Needs root, and mount and process namespaces of its own. Throws std::runtime_error.
  explicit Bench(const std::string& build);

  Agent& agent() { return *agent_; }
  PeerDaemon& peers() { return *peers_; }
  const std::string& root() const { return root_; }
  // The folder that all of them watch.
  const std::string& guarded() const { return agent_->guarded(); }

 private:
  const std::string root_;
  std::unique_ptr<Agent> agent_;
  std::unique_ptr<PeerDaemon> peers_;
};

// How many rounds there are: as many as usual, or as the environment's BENCH_ROUNDS says, where
// something is only tried out.
int roundsOf(int usual);
// One line on standard error: how far it is.
void tell(const std::string& what);

// The groups. Each returns its tables; throws std::runtime_error.
std::vector<Table> measureStorms(Bench& bench);
std::vector<Table> measureLargeStorm(Bench& bench);
std::vector<Table> measureSingleFile(Bench& bench);
std::vector<Table> measureIdle(Bench& bench);
std::vector<Table> measureForeground(Bench& bench);
std::vector<Table> measureRealSizedEngine(Bench& bench);

}  // namespace bench
