#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "benchmarks/support/BareSession.h"
#include "benchmarks/support/ClamOnAcc.h"
#include "benchmarks/support/Engine.h"
#include "benchmarks/support/EventTools.h"
#include "benchmarks/support/Pause.h"
#include "benchmarks/support/ProcessFigures.h"
#include "benchmarks/support/StormFiles.h"
#include "benchmarks/table/Bench.h"

namespace bench {
namespace {

constexpr int usualRounds = 5;
// Tools that scan nothing, so that nothing is found more or less by chance; and in the storm of
// 100,000, which takes minutes a round, everyone but the agent and the client that it is held
// against.
constexpr int roundsOfOthers = 1;
constexpr Seconds patience(60);

const std::vector<Storm>& smallStorms() {
  static const std::vector<Storm> all{
      tenThousandFiles,
      {"10,000 files in 2,000 brand-new nested folders", 10000, 100, 2000, Seconds(0)},
      {"2,000 files, 0.5 ms between open and write", 2000, 100, 0, Seconds(0.0005)},
  };
  return all;
}

// What one way showed in one storm, a value a round.
struct Figures {
  Samples found;
  Samples named;
  Samples whole;  // first write to last verdict; of a bare client its own time
  Samples writer;
  Samples processor;
  Samples memory;
};

using Ways = std::map<std::string, Figures>;

constexpr char client[] = "clamdscan --multiscan --fdpass";
constexpr char session[] = "bare session of descriptors";

class StormRounds {
 public:
  enum class Others { always, seldom };

  StormRounds(Bench& bench, std::vector<Storm> storms, Others others)
      : bench_(bench), storms_(std::move(storms)), others_(others) {}

  void run(int rounds);
  std::vector<Table> tables() const;

 private:
  void measureBare(const Storm& storm, Ways& ways, bool withSession);
  void measureClient(const std::string& folder, const Storm& storm, Figures& figures);
  void measureSession(const std::string& folder, const Storm& storm, Figures& figures);
  void measureWatched(Watcher& watcher, const Storm& storm, Figures& figures);
  void measureWatcher(Watcher& watcher);
  std::string newFolder(const std::string& top);

  Bench& bench_;
  const std::vector<Storm> storms_;
  const Others others_;
  std::map<std::string, Ways> all_;  // by the storm's name
  std::vector<std::string> order_;   // of the watchers
  int folders_ = 0;
};

// Contents of clean files begin with their folder's name: no two storms may be alike, or the engine
// knows their files.
std::string StormRounds::newFolder(const std::string& top) {
  std::string folder = top + "/storm" + std::to_string(folders_++);
  makeOrdinaryFolder(folder);
  return folder;
}

int foundIn(const std::string& log) {
  std::ifstream file(log);
  int found = 0;
  for (std::string line; std::getline(file, line);) {
    found += line.ends_with(" FOUND") ? 1 : 0;
  }
  return found;
}

void StormRounds::measureClient(const std::string& folder, const Storm& storm, Figures& figures) {
  const std::string log = bench_.root() + "/client.log";
  writeFile(log, "");
  const PeakMemory memory([] { return processesNamed("clamdscan"); });
  const ScanCost cost = scanWithClient(bench_.peers().configuration(), stormPaths(folder, storm),
                                       {"PATH=/usr/bin:/bin"}, bench_.root(), log);
  figures.found.add(foundIn(log));
  figures.named.add(storm.files);
  figures.whole.add(cost.time.count());
  figures.processor.add(cost.processor.count());
  figures.memory.add(memory.megabytes());
}

void StormRounds::measureSession(const std::string& folder, const Storm& storm, Figures& figures) {
  const std::string answer = bench_.root() + "/session.txt";
  const std::vector<std::string> paths = stormPaths(folder, storm);
  const Seconds before = childrensTime();
  const Seconds begin = now();
  writeFile(answer, "");
  const pid_t process = startFork([&] {
    std::ofstream(answer) << scanInSession(bench_.peers().socket(), paths);
    return 0;
  });
  if (finish(process) != 0) {
    throw std::runtime_error("the bare session failed");
  }
  figures.whole.add((now() - begin).count());
  figures.processor.add((childrensTime() - before).count());
  int found = 0;
  std::ifstream(answer) >> found;
  figures.found.add(found);
  figures.named.add(storm.files);
}

void StormRounds::measureBare(const Storm& storm, Ways& ways, bool withSession) {
  const std::string first = newFolder(bench_.root());
  ways[client].writer.add(writeStorm(first, storm).count());
  measureClient(first, storm, ways[client]);
  std::filesystem::remove_all(first);
  if (!withSession) {
    return;
  }
  const std::string second = newFolder(bench_.root());
  writeStorm(second, storm);
  measureSession(second, storm, ways[session]);
  std::filesystem::remove_all(second);
}

void StormRounds::measureWatched(Watcher& watcher, const Storm& storm, Figures& figures) {
  const std::string folder = newFolder(bench_.guarded());
  pauseFor(Seconds(1));  // time for who has to notice the folder first
  SightingLog log(watcher.log(), watcher.lines(), folder);
  const Seconds before = processorTime(watcher.processes());
  const Seconds begin = now();
  {
    const PeakMemory memory([&] { return watcher.processes(); });
    figures.writer.add(writeStorm(folder, storm).count());
    const Seen seen = awaitStorm(watcher, log, storm.files);
    figures.whole.add((seen.last - begin).count());
    figures.found.add(seen.infected);
    figures.named.add(seen.files);
    figures.memory.add(memory.megabytes());
  }
  figures.processor.add((processorTime(watcher.processes()) - before).count());
  std::filesystem::remove_all(folder);
}

void StormRounds::measureWatcher(Watcher& watcher) {
  tell("  " + watcher.name());
  watcher.start();
  if (!awaitWatching(watcher, bench_.guarded(), patience)) {
    throw std::runtime_error(watcher.name() + " does not watch; see " + watcher.log());
  }
  for (const Storm& storm : storms_) {
    measureWatched(watcher, storm, all_[storm.name][watcher.name()]);
  }
  watcher.stop();
}

void StormRounds::run(int rounds) {
  ClamOnAcc shipped(bench_.peers(), bench_.guarded(), ClamOnAcc::Scanning::shipped);
  ClamOnAcc extra(bench_.peers(), bench_.guarded(), ClamOnAcc::Scanning::extra);
  EventTool inotifywait(EventTool::Tool::inotifywait, bench_.guarded(), bench_.root());
  EventTool fatrace(EventTool::Tool::fatrace, bench_.guarded(), bench_.root());
  const std::vector<Watcher*> watchers{&bench_.agent(), &shipped, &extra, &inotifywait, &fatrace};
  for (const Watcher* watcher : watchers) {
    order_.push_back(watcher->name());
  }
  for (int round = 0; round < rounds; ++round) {
    tell("round " + std::to_string(round + 1) + " of " + std::to_string(rounds));
    const bool withOthers = others_ == Others::always || round < roundsOfOthers;
    bench_.peers().start();
    for (const Storm& storm : storms_) {
      measureBare(storm, all_[storm.name], withOthers);
    }
    bench_.peers().stop();
    for (Watcher* watcher : watchers) {
      const bool isTool = watcher == &inotifywait || watcher == &fatrace;
      const bool isAgent = watcher == &bench_.agent();
      if (isAgent || (isTool ? round < roundsOfOthers : withOthers)) {
        measureWatcher(*watcher);
      }
    }
  }
}

std::string share(const Samples& part, int whole) {
  return inWords(part) + " of " + std::to_string(whole);
}

Table tableOf(const Storm& storm, const Ways& ways, const std::vector<std::string>& order) {
  constexpr double microsecondsPerSecond = 1e6;
  Table table;
  table.title = "Storm: " + storm.name;
  table.columns = {"Way",
                   "found",
                   "files named",
                   "first write to last verdict, s",
                   "over bare clamdscan",
                   "writer, s",
                   "over unwatched",
                   "processor time without clamd, s",
                   "a file, µs",
                   "peak memory, MB",
                   "rounds"};
  std::vector<std::string> all{client, session};
  all.insert(all.begin(), order.begin(), order.begin() + 3);
  all.insert(all.end(), order.begin() + 3, order.end());
  const Figures& bare = ways.at(client);
  for (const std::string& way : all) {
    const Figures& figures = ways.at(way);
    const bool scans = way != order[3] && way != order[4];
    Samples perFile;
    for (const double seconds : figures.processor.values()) {
      perFile.add(seconds * microsecondsPerSecond / storm.files);
    }
    const bool namesOnlyFinds = way == order[1] || way == order[2];
    table.rows.push_back(
        {way,
         {scans ? share(figures.found, storm.infected) : "scans nothing",
          namesOnlyFinds ? "–" : share(figures.named, storm.files), figures.whole,
          figures.whole.over(bare.whole), figures.writer,
          way == client ? Samples({1}) : figures.writer.over(bare.writer), figures.processor,
          perFile, figures.memory, std::to_string(figures.whole.values().size())}});
  }
  return table;
}

std::vector<Table> StormRounds::tables() const {
  std::vector<Table> tables;
  for (const Storm& storm : storms_) {
    tables.push_back(tableOf(storm, all_.at(storm.name), order_));
  }
  return tables;
}

}  // namespace

std::vector<Table> measureStorms(Bench& bench) {
  StormRounds all(bench, smallStorms(), StormRounds::Others::always);
  all.run(roundsOf(usualRounds));
  std::vector<Table> tables = all.tables();
  tables.back().notes = {
      "Files of 1 KB; those that are to be found are EICAR's. Each figure: the median "
      "(least–greatest).",
      "The bare client and the bare session scan files that lie there already: their time begins "
      "with "
      "the first scan, and the writer beside the client is the unwatched one.",
      "The agent has the engine use all cores for one batch, too (multiscan), which is off unless "
      "its user says so.",
      "clamonacc tells only of what it finds; its end is when neither it nor clamd works any more.",
      "inotifywait and fatrace scan nothing: what it costs to hear of files, and how many they "
      "name.",
      "Peak memory: the greatest sum of the proportional share (PSS) of all processes but clamd, "
      "looked at ten times a second.",
      "clamonacc runs as its unit starts it, but moves nothing away; root started clamd for the "
      "account clamav, which is excluded, and the writer is an ordinary user. All may have 1,024 "
      "descriptors open, as systemd has it; with many more clamonacc aborts in such a storm."};
  return tables;
}

std::vector<Table> measureLargeStorm(Bench& bench) {
  StormRounds all(bench, {{"100,000 files", 100000, 10, 0, Seconds(0)}},
                  StormRounds::Others::seldom);
  all.run(roundsOf(usualRounds));
  return all.tables();
}

}  // namespace bench
