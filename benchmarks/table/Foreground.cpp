#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <thread>

#include "benchmarks/support/ClamOnAcc.h"
#include "benchmarks/support/Pause.h"
#include "benchmarks/support/ProcessFigures.h"
#include "benchmarks/support/StormFiles.h"
#include "benchmarks/table/Bench.h"

namespace bench {
namespace {

constexpr int usualRounds = 5;
constexpr Seconds patience(60);
// So many that the engine works on them for longer than the foreground does.
const Storm backlog{"20,000 files", 20000, 10, 0, Seconds(0)};
const std::vector<std::string> environment{"PATH=/usr/bin:/bin", "LC_ALL=C"};

// A compile and a compression that use all cores, the same each time.
class ForegroundWork {
 public:
  explicit ForegroundWork(std::string folder)
      : folder_(std::move(folder)), cores_(std::max(1U, std::thread::hardware_concurrency())) {
    makeOrdinaryFolder(folder_);
    writeSource();
    writeText();
  }

  Seconds compile() const {
    const Seconds begin = now();
    std::vector<pid_t> compilers;
    for (unsigned number = 0; number < cores_; ++number) {
      compilers.push_back(start({"/usr/bin/g++", "-std=c++20", "-O2", "-c", folder_ + "/source.cpp",
                                 "-o", folder_ + "/object" + std::to_string(number) + ".o"},
                                environment));
    }
    for (const pid_t compiler : compilers) {
      expectSuccess(finish(compiler), "g++");
    }
    return now() - begin;
  }

  Seconds compress() const {
    const Seconds begin = now();
    expectSuccess(run({"/usr/bin/xz", "--compress", "--stdout", "-5", "--block-size=2MiB",
                       "--threads=" + std::to_string(cores_), folder_ + "/text"},
                      environment),
                  "xz");
    return now() - begin;
  }

 private:
  static void expectSuccess(int status, const std::string& program) {
    if (status != 0) {
      throw std::runtime_error(program + " ended with status " + std::to_string(status));
    }
  }

  void writeSource() const {
    constexpr int functions = 13;
    std::string text =
        "#include <algorithm>\n#include <map>\n#include <string>\n#include <vector>\n";
    for (int number = 0; number < functions; ++number) {
      const std::string own = std::to_string(number);
      text +=
          "struct Key" + own + " { int first; std::string second; auto operator<=>(const Key" +
          own + "&) const = default; };\nint work" + own + "(std::vector<Key" + own +
          "> keys) {\n  std::map<Key" + own +
          ", int> counts;\n  std::sort(keys.begin(), keys.end());\n  for (const auto& key : keys) "
          "{ counts[key] += key.first * " +
          own + "; }\n  return counts.empty() ? 0 : counts.begin()->second;\n}\n";
    }
    writeFile(folder_ + "/source.cpp", text);
  }

  void writeText() const {
    constexpr std::size_t bytes = 6UL * 1024 * 1024;
    constexpr unsigned words = 5000;
    // The same text each time.
    // NOLINTNEXTLINE(cert-msc51-cpp)
    std::minstd_rand numbers(1);
    std::string text;
    text.reserve(bytes);
    while (text.size() < bytes) {
      text += std::to_string(numbers() % words * (numbers() % 7)) + ' ';
    }
    writeFile(folder_ + "/text", text);
  }

  const std::string folder_;
  const unsigned cores_;
};

struct Figures {
  Samples compile;
  Samples compress;
  Samples engine;  // processor seconds of clamd meanwhile
};

void measureWork(const ForegroundWork& work, Figures& figures) {
  const std::vector<pid_t> daemons = processesNamed("clamd");
  const Seconds before = ownProcessorTime(daemons);
  figures.compile.add(work.compile().count());
  figures.compress.add(work.compress().count());
  figures.engine.add((ownProcessorTime(daemons) - before).count());
}

// The work begins when the engine has begun. What is left of the storm goes with its files.
void measureBeside(Bench& bench, const ForegroundWork& work, Figures& figures) {
  constexpr Seconds begun(0.1);
  constexpr Seconds longEnough(10);
  static int number = 0;
  const std::string folder = bench.guarded() + "/backlog" + std::to_string(number++);
  makeOrdinaryFolder(folder);
  pauseFor(Seconds(1));
  const std::vector<pid_t> daemons = processesNamed("clamd");
  const Seconds before = ownProcessorTime(daemons);
  writeStorm(folder, backlog);
  const Seconds written = now();
  while (ownProcessorTime(daemons) - before < begun && now() - written < longEnough) {
    pauseFor(Seconds(0.01));
  }
  measureWork(work, figures);
  std::filesystem::remove_all(folder);
}

// Blocks until nobody works on files that are gone.
void awaitRest(const Watcher& watcher) {
  constexpr Seconds between(0.5);
  constexpr Seconds nothing(0.02);
  constexpr Seconds longEnough(30);
  const auto used = [&] {
    return processorTime(watcher.processes()) + ownProcessorTime(processesNamed("clamd"));
  };
  const Seconds begin = now();
  for (Seconds before(-1), after = used(); after - before > nothing && now() - begin < longEnough;
       after = used()) {
    before = after;
    pauseFor(between);
  }
}

struct Beside {
  Figures alone;
  Figures work;
};

// Each round has the work by itself, with the watcher at rest, and then beside a storm.
Beside measureWatcher(Bench& bench, Watcher& watcher, const ForegroundWork& work) {
  tell(watcher.name());
  watcher.start();
  if (!awaitWatching(watcher, bench.guarded(), patience)) {
    throw std::runtime_error(watcher.name() + " does not watch; see " + watcher.log());
  }
  Beside figures;
  for (int left = roundsOf(usualRounds); left > 0; --left) {
    measureWork(work, figures.alone);
    measureBeside(bench, work, figures.work);
    awaitRest(watcher);
  }
  watcher.stop();
  return figures;
}

Table::Row rowOf(const std::string& name, const Figures& figures, const Figures& alone) {
  return {name,
          {figures.compile, figures.compile.over(alone.compile), figures.compress,
           figures.compress.over(alone.compress), figures.engine}};
}

}  // namespace

std::vector<Table> measureForeground(Bench& bench) {
  const ForegroundWork work(bench.root() + "/foreground");
  ClamOnAcc shipped(bench.peers(), bench.guarded(), ClamOnAcc::Scanning::shipped);
  ClamOnAcc extra(bench.peers(), bench.guarded(), ClamOnAcc::Scanning::extra);
  work.compile();  // what it reads is in memory from here on
  Table table;
  table.title = "Work in the foreground while a storm is scanned";
  table.columns = {"Beside it",
                   "compile, s",
                   "over alone",
                   "compression, s",
                   "over alone (compression)",
                   "clamd's processor time meanwhile, s"};
  for (Watcher* watcher : {static_cast<Watcher*>(&bench.agent()), static_cast<Watcher*>(&shipped),
                           static_cast<Watcher*>(&extra)}) {
    const Beside figures = measureWatcher(bench, *watcher, work);
    if (table.rows.empty()) {
      table.rows.push_back(rowOf("nothing", figures.alone, figures.alone));
    }
    table.rows.push_back(rowOf(watcher->name(), figures.work, figures.alone));
  }
  table.notes = {
      "g++ -O2 on a fixed source, as often at once as there are cores, then xz of 6 MB on all "
      "cores; "
      "20,000 files of 1 KB were written just before, and the work begins with the engine's. Each "
      "ratio is to the same work just before the storm, with the watcher at rest.",
      "clamd's processor time says how much was scanned meanwhile: who has dropped the files slows "
      "nobody down."};
  return {table};
}

}  // namespace bench
