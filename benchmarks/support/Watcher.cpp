#include "benchmarks/support/Watcher.h"

#include <algorithm>
#include <filesystem>
#include <unordered_set>

#include "benchmarks/support/Pause.h"
#include "benchmarks/support/ProcessFigures.h"
#include "benchmarks/support/StormFiles.h"

namespace bench {
namespace {

// Notices whether watcher and daemon work.
class Work {
 public:
  explicit Work(const Watcher& watcher) : processes_(watcher.processes()) {
    const std::vector<pid_t> daemons = processesNamed("clamd");
    processes_.insert(processes_.end(), daemons.begin(), daemons.end());
    used_ = ownProcessorTime(processes_);
  }
  // Whether they did, since this was asked last.
  bool goesOn() {
    // A thread that ends, or looks whether it should, is no work.
    constexpr Seconds nothing(0.0003);
    const Seconds used = ownProcessorTime(processes_);
    const bool worked = used - used_ > nothing;
    used_ = used;
    return worked;
  }

 private:
  std::vector<pid_t> processes_;
  Seconds used_{};
};

}  // namespace

std::optional<Seconds> awaitWatching(const Watcher& watcher, const std::string& folder,
                                     Seconds longest) {
  constexpr Seconds between(0.01);
  const std::string probes = folder + "/probes";
  makeOrdinaryFolder(probes);
  SightingLog log(watcher.log(), watcher.lines(), probes);
  const Seconds begin = now();
  std::vector<Seconds> written;
  std::optional<std::size_t> first;
  while (!first && now() - begin < longest && isAnyRunning(watcher.processes())) {
    writeFile(probes + "/" + std::to_string(written.size()),
              watcher.namesCleanFiles() ? "probe" : infectedContents());
    written.push_back(now());
    for (const Sighting& sighting : log.next(between)) {
      const std::size_t number = std::stoul(sighting.path.substr(sighting.path.rfind('/') + 1));
      first = std::min(first.value_or(number), number);
    }
  }
  // What is still to be named must not be taken for something else. The agent names such files
  // once a second.
  constexpr Seconds quiet(1.5);
  while (!log.next(std::min(watcher.patience() / 2, quiet)).empty()) {
  }
  std::filesystem::remove_all(probes);
  return first ? std::optional<Seconds>(written.at(*first) - begin) : std::nullopt;
}

Seen awaitStorm(const Watcher& watcher, SightingLog& log, int files) {
  constexpr Seconds between(0.02);
  std::unordered_set<std::string> named;
  std::unordered_set<std::string> infected;
  Work work(watcher);
  Seconds lastWork = now();
  Seen seen;
  seen.last = now();
  while (static_cast<int>(named.size()) < files && now() - lastWork < watcher.patience()) {
    for (const Sighting& sighting : log.next(between)) {
      if (named.insert(sighting.path).second) {
        seen.last = lastWork = now();
      }
      if (sighting.infected) {
        infected.insert(sighting.path);
      }
    }
    if (!watcher.namesCleanFiles()) {
      pauseFor(between);
      if (work.goesOn()) {
        seen.last = lastWork = now();
      }
    }
  }
  seen.files = static_cast<int>(named.size());
  seen.infected = static_cast<int>(infected.size());
  return seen;
}

}  // namespace bench
