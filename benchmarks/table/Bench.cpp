#include "benchmarks/table/Bench.h"

#include <sys/mount.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "benchmarks/support/StormFiles.h"

namespace bench {
namespace {

constexpr Seconds patience(60);

}  // namespace

Bench::Bench(const std::string& build) : root_("/tmp/bench") {
  // Where the machine's own daemon may answer: nobody is to be given that one.
  if (std::filesystem::exists("/run/clamav")) {
    if (mount("bench", "/run/clamav", "tmpfs", 0, "mode=755") != 0) {
      throw std::runtime_error("cannot cover /run/clamav");
    }
  }
  std::filesystem::create_directories(root_);
  agent_ = std::make_unique<Agent>(root_, build);
  // Its daemon runs once, so that the tree has the configuration that it goes by.
  agent_->start();
  if (!awaitWatching(*agent_, guarded(), patience)) {
    throw std::runtime_error("the agent does not watch; see " + agent_->log());
  }
  agent_->stop();
  peers_ = std::make_unique<PeerDaemon>(agent_->tree(), root_);
}

int roundsOf(int usual) {
  const char* asked = std::getenv("BENCH_ROUNDS");
  const int rounds = asked != nullptr ? std::atoi(asked) : usual;
  return std::clamp(rounds, 1, usual);
}

void tell(const std::string& what) {
  static const Seconds begin = now();
  std::fprintf(stderr, "%4.0f s  %s\n", (now() - begin).count(), what.c_str());
}

}  // namespace bench
