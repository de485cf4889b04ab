// Whether anything costs more for what has been done before.

#include <string>
#include <vector>

#include "benchmarks/parts/Gauges.h"
#include "clamav/Verdict.h"
#include "history/HistoryStore.h"
#include "scanning/Dispatcher.h"
#include "scanning/LimitNotice.h"
#include "scanning/UnscannedFiles.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace bench {
namespace {

using quillo::Dispatcher;
using quillo::Verdict;
using Paths = std::vector<std::string>;

constexpr int rounds = 1000;
constexpr std::size_t pathsOfRound = 1000;

// Other paths of the same length each round.
Paths pathsOf(int round) {
  Paths paths;
  for (std::size_t at = 0; at < pathsOfRound; ++at) {
    paths.push_back("/home/anna/Downloads/" + std::to_string(1'000'000 + round) + "/" +
                    std::to_string(1'000'000 + at));
  }
  return paths;
}

// A million files through the lists, a thousand at a time.
void queueAfterMany(benchmark::State& state) {
  quillo::PassingClock clock;
  quillo::FakePlatform desktop;
  Dispatcher queue(clock, desktop.systemLog, desktop.volumes, nullptr);
  const MillionFiles& files = MillionFiles::made();
  const std::size_t before = heapInUse();
  Tenths tenths;
  for (auto step : state) {
    for (std::size_t at = 0; at < MillionFiles::count; at += pathsOfRound) {
      Paths paths;
      for (std::size_t file = 0; file < pathsOfRound; ++file) {
        paths.push_back(files.path(at + file));
      }
      Paths batch;
      tenths.time([&] {
        queue.addToItemList(paths);
        queue.cycle();
        while (queue.scannableCount() > 0) {
          queue.copyFromDispatchToScanner(batch);
        }
      });
    }
  }
  tenths.report(state);
  state.counters["bytes_kept"] = static_cast<double>(heapInUse()) - static_cast<double>(before);
}
BENCHMARK(queueAfterMany)->Name("past: queue")->Iterations(1)->Unit(benchmark::kMillisecond);

// What is remembered of large files is bounded, and so is what looking it up costs.
void reportedFilesAfterMany(benchmark::State& state) {
  quillo::ReportedFiles reported;
  Tenths tenths;
  for (auto step : state) {
    for (int round = 0; round < rounds; ++round) {
      const Paths paths = pathsOf(round);
      tenths.time([&] {
        for (const std::string& path : paths) {
          reported.add(path);
        }
      });
    }
  }
  tenths.report(state);
}
BENCHMARK(reportedFilesAfterMany)
    ->Name("past: files beyond limits")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

class EverythingGuarded final : public quillo::GuardedPlaces {
 public:
  bool takeNow() override { return true; }
  bool hold(const std::string&) override { return true; }
};

class NobodyTold final : public quillo::ScanObserver {
 public:
  void runBegan(std::size_t) override {}
  void runEnded(std::size_t) override {}
  void verdictGiven(const Verdict&) override {}
};

// A daemon that goes a thousand times, and leaves a thousand other files each time.
void unscannedAfterMany(benchmark::State& state) {
  quillo::PassingClock clock;
  quillo::FakePlatform desktop;
  Dispatcher queue(clock, desktop.systemLog, desktop.volumes, nullptr);
  EverythingGuarded places;
  NobodyTold observer;
  quillo::UnscannedFiles unscanned(
      {clock, desktop.systemLog, queue, observer, places, [](quillo::Clock::Duration) {}});
  Tenths tenths;
  for (auto step : state) {
    for (int round = 0; round < rounds; ++round) {
      const Paths paths = pathsOf(round);
      tenths.time([&] {
        Verdict verdict;
        verdict.kind = Verdict::Kind::notScanned;
        verdict.daemonGone = Verdict::DaemonGone::before;
        verdict.reason = "the daemon cannot be reached";
        for (const std::string& path : paths) {
          verdict.path = path;
          unscanned.take(verdict);
        }
        unscanned.reportAnew();
        verdict.kind = Verdict::Kind::clean;
        verdict.daemonGone = Verdict::DaemonGone::no;
        for (const std::string& path : paths) {
          verdict.path = path;
          unscanned.take(verdict);
        }
        queue.cycle();
      });
    }
  }
  tenths.report(state);
}
BENCHMARK(unscannedAfterMany)
    ->Name("past: files without a daemon")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// Finds entered one run at a time, until the oldest are dropped for them.
void historyAfterMany(benchmark::State& state) {
  const quillo::TemporaryFolder folder;
  quillo::SystemClock clock;
  quillo::FakePlatform desktop;
  quillo::HistoryStore store(folder.at("state"), clock, desktop.systemLog, {});
  Tenths tenths;
  for (auto step : state) {
    for (int round = 0; round < 200; ++round) {
      quillo::HistoryBatch batch;
      for (const std::string& path : pathsOf(round)) {
        quillo::HistoryResult result;
        result.time = clock.wallTime();
        result.kind = quillo::HistoryResult::Kind::found;
        result.path = path;
        result.says = "Some.Threat.Name-1234567-0";
        batch.changes.emplace_back(result);
      }
      tenths.time([&] { store.write(batch); });
    }
  }
  tenths.report(state);
}
BENCHMARK(historyAfterMany)->Name("past: history")->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace bench
