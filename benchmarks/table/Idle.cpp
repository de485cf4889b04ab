#include <filesystem>
#include <stdexcept>

#include "benchmarks/support/ClamOnAcc.h"
#include "benchmarks/support/EventTools.h"
#include "benchmarks/support/Pause.h"
#include "benchmarks/support/ProcessFigures.h"
#include "benchmarks/support/StormFiles.h"
#include "benchmarks/table/Bench.h"

namespace bench {
namespace {

constexpr int usualStarts = 3;
constexpr int usualWindows = 5;
constexpr Seconds window(2);
constexpr Seconds settling(2);
constexpr int largest = 1000000;

struct Figures {
  Samples untilWatching;
  Samples processor;  // milliseconds a minute
  Samples wakeUps;    // a minute
  Samples memory;
  std::string failure;
};

// From the start of its program to the first file that it names. Nothing for who does not watch
// within its patience.
bool startOnce(Bench& bench, Watcher& watcher, Seconds patience, Figures& figures) {
  const Seconds begin = now();
  watcher.start();
  const Seconds started = now() - begin;
  const auto watching = awaitWatching(watcher, bench.guarded(), patience);
  if (!watching) {
    figures.failure = isAnyRunning(watcher.processes())
                          ? "not within " + threeDigits(patience.count()) + " s"
                          : "ends by itself";
    watcher.stop();
    return false;
  }
  figures.untilWatching.add((started + *watching).count());
  return true;
}

// What it uses while nothing happens.
void measureWindows(const Watcher& watcher, Figures& figures) {
  constexpr double millisecondsPerSecond = 1000;
  const double windowsPerMinute = 60 / window.count();
  pauseFor(settling);
  const std::vector<pid_t> processes = watcher.processes();
  for (int number = 0; number < roundsOf(usualWindows); ++number) {
    const Seconds before = ownProcessorTime(processes);
    const double wakeUpsBefore = wakeUps(processes);
    pauseFor(window);
    figures.processor.add((ownProcessorTime(processes) - before).count() * millisecondsPerSecond *
                          windowsPerMinute);
    figures.wakeUps.add((wakeUps(processes) - wakeUpsBefore) * windowsPerMinute);
    figures.memory.add(proportionalMegabytes(processes));
  }
}

Figures measureWatcher(Bench& bench, Watcher& watcher, int starts, Seconds patience) {
  tell("  " + watcher.name());
  Figures figures;
  for (int number = 0; number < starts; ++number) {
    if (!startOnce(bench, watcher, patience, figures)) {
      return figures;
    }
    if (number == starts - 1) {
      measureWindows(watcher, figures);
    }
    watcher.stop();
  }
  return figures;
}

Table measureTree(Bench& bench, int folders) {
  // Whoever walks through a tree takes its time for a million folders.
  const Seconds patience(folders < largest ? 30 : 60);
  const int starts = roundsOf(usualStarts);
  ClamOnAcc clamonacc(bench.peers(), bench.guarded(), ClamOnAcc::Scanning::shipped);
  EventTool inotifywait(EventTool::Tool::inotifywait, bench.guarded(), bench.root());
  EventTool fatrace(EventTool::Tool::fatrace, bench.guarded(), bench.root());
  Table table;
  table.columns = {"Way",
                   "start to watching, s",
                   "processor time, ms a minute",
                   "wake-ups a minute",
                   "memory (PSS), MB",
                   "starts"};
  for (Watcher* watcher : {static_cast<Watcher*>(&bench.agent()), static_cast<Watcher*>(&clamonacc),
                           static_cast<Watcher*>(&inotifywait), static_cast<Watcher*>(&fatrace)}) {
    const Figures figures = measureWatcher(bench, *watcher, starts, patience);
    table.rows.push_back(
        {watcher->name(),
         {figures.failure.empty() ? Cell(figures.untilWatching) : Cell(figures.failure),
          figures.processor, figures.wakeUps, figures.memory,
          std::to_string(figures.untilWatching.values().size())}});
  }
  return table;
}

}  // namespace

std::vector<Table> measureIdle(Bench& bench) {
  std::vector<Table> tables;
  const std::string wide = bench.guarded() + "/wide";
  const std::vector<std::pair<int, std::string>> trees{
      {1000, "1,000"}, {100000, "100,000"}, {largest, "1,000,000"}};
  for (const auto& [folders, inWords] : trees) {
    tell("a tree of " + inWords + " folders");
    std::filesystem::remove_all(wide);
    makeWideTree(wide, folders);
    tables.push_back(measureTree(bench, folders));
    tables.back().title = "Idle, on a tree of " + inWords + " folders";
  }
  tables.back().notes = {
      "Start to watching: from the start of the program, the engine's loading with it, to the "
      "first "
      "file that is named in the end.",
      "Processor time, wake-ups and memory: of all processes but clamd, in five windows of two "
      "seconds "
      "in which nothing happens.",
      "inotifywait and clamonacc need an inotify watch a folder, of which the kernel gives a user "
      "no "
      "more than fs.inotify.max_user_watches."};
  return tables;
}

}  // namespace bench
