// The dispatcher's lists: taking in, measuring, handing out, and what a waiting path costs.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/parts/Gauges.h"
#include "scanning/Dispatcher.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"

namespace bench {
namespace {

using quillo::Dispatcher;
using Paths = std::vector<std::string>;

class Queue {
 public:
  Dispatcher* operator->() { return &dispatcher_; }
  // `between` is called where a cycle waits for files to hold still.
  void cycle(const std::function<void()>& between) {
    clock_.atSleep = [&](int) { between(); };
    dispatcher_.cycle();
    clock_.atSleep = nullptr;
  }

 private:
  quillo::PassingClock clock_;
  quillo::FakePlatform desktop_;
  Dispatcher dispatcher_{clock_, desktop_.systemLog, desktop_.volumes, nullptr};
};

std::size_t lengthsOf(const MillionFiles& files) {
  std::size_t bytes = 0;
  for (std::size_t at = 0; at < MillionFiles::count; ++at) {
    bytes += files.path(at).size();
  }
  return bytes;
}

Paths allOf(const MillionFiles& files) {
  Paths paths;
  paths.reserve(MillionFiles::count);
  for (std::size_t at = 0; at < MillionFiles::count; ++at) {
    paths.push_back(files.path(at));
  }
  return paths;
}

std::unique_ptr<Queue> sharedQueue;

void takeIn(benchmark::State& state) {
  if (state.thread_index() == 0) {
    sharedQueue = std::make_unique<Queue>();
  }
  const std::string folder = "/home/anna/Downloads/" + std::to_string(state.thread_index()) + "/";
  int number = 0;
  for (auto step : state) {
    (*sharedQueue)->addStringToItemList(folder + std::to_string(number++));
  }
  state.SetItemsProcessed(state.iterations());
  if (state.thread_index() == 0) {
    sharedQueue.reset();
  }
}
// A number of its own, for what was taken in stays until the end.
BENCHMARK(takeIn)->Name("intake")->Iterations(100'000)->Threads(1)->Threads(8)->UseRealTime();

void measureMillion(benchmark::State& state) {
  const MillionFiles& files = MillionFiles::made();
  Queue queue;
  Paths paths = allOf(files);
  queue->copyItemsToMyItemListFrom(paths);
  queue->getItemSizesInMyItemList();
  for (auto step : state) {
    queue->getItemSizesInMyItemList();
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(queue->lengthOfBothItemLists()));
}
BENCHMARK(measureMillion)
    ->Name("measuring pass over 1,000,000 paths")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// What a path costs beyond its own bytes: taken in, measured, ready, and what is kept once they
// have all gone.
void weighWaiting(benchmark::State& state) {
  const MillionFiles& files = MillionFiles::made();
  const auto own = static_cast<double>(lengthsOf(files));
  for (auto step : state) {
    Queue queue;
    const std::size_t before = heapInUse();
    const auto note = [&](const char* station, double bytes) {
      state.counters[station] = (static_cast<double>(heapInUse() - before) - bytes) /
                                static_cast<double>(MillionFiles::count);
    };
    for (std::size_t at = 0; at < MillionFiles::count; ++at) {
      queue->addStringToItemList(files.path(at));
    }
    note("reported", own);
    queue.cycle([&] { note("measured", own); });
    note("ready", own);
    Paths batch;
    while (queue->scannableCount() > 0) {
      queue->copyFromDispatchToScanner(batch);
      batch.clear();
    }
    note("afterwards", 0);
  }
}
// It weighs the same each time.
BENCHMARK(weighWaiting)
    ->Name("bytes beyond a waiting path's own")
    ->Iterations(1)
    ->Repetitions(1)
    ->Unit(benchmark::kMillisecond);

void handOut(benchmark::State& state) {
  const MillionFiles& files = MillionFiles::made();
  for (auto step : state) {
    state.PauseTiming();
    Queue queue;
    Paths paths = allOf(files);
    queue->addToItemList(paths);
    queue.cycle([] {});
    Tenths batches;
    Paths batch;
    state.ResumeTiming();
    while (queue->scannableCount() > 0) {
      batches.time([&] { queue->copyFromDispatchToScanner(batch); });
      batch.clear();
    }
    state.PauseTiming();
    batches.report(state);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(MillionFiles::count / Dispatcher::batchLimit));
}
BENCHMARK(handOut)
    ->Name("5,000 batches of 1,000,000 ready paths")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace bench
