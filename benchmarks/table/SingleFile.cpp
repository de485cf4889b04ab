#include <filesystem>
#include <map>
#include <stdexcept>

#include "benchmarks/support/BareSession.h"
#include "benchmarks/support/ClamOnAcc.h"
#include "benchmarks/support/StormFiles.h"
#include "benchmarks/table/Bench.h"

namespace bench {
namespace {

constexpr int files = 50;
constexpr Seconds patience(60);
constexpr std::size_t kilobyte = 1024;
constexpr std::size_t small = kilobyte;
constexpr std::size_t large = 90 * kilobyte * kilobyte;

struct Figures {
  Samples small;
  Samples large;
};

// Each file differs from all others, or the engine would know it.
std::string contentsOf(std::size_t bytes, int number) {
  std::string contents = infectedContents(bytes);
  contents.replace(contents.size() / 2, 8, std::to_string(10000000 + number));
  return contents;
}

// Files that come one after another, each before the one before it has its verdict: a file's time
// is its own, and fifty of them need not wait for each other.
Samples measureSize(const Watcher& watcher, const std::string& folder, std::size_t bytes) {
  constexpr Seconds longEnough(10);
  const Seconds between(bytes == small ? 0.1 : 0.45);
  static int number = 0;
  SightingLog log(watcher.log(), watcher.lines(), folder);
  std::map<std::string, Seconds> closed;
  Samples samples;
  Seconds next = now();
  for (int left = roundsOf(files); left > 0 || (!closed.empty() && now() - next < longEnough);) {
    if (left > 0 && now() >= next) {
      const std::string path = folder + "/" + std::to_string(++number);
      writeFile(path, contentsOf(bytes, number));
      closed[path] = now();
      next = now() + between;
      --left;
    }
    for (const Sighting& sighting : log.next(left > 0 ? next - now() : Seconds(0.5))) {
      const auto found = closed.find(sighting.path);
      if (sighting.infected && found != closed.end()) {
        samples.add((now() - found->second).count());
        std::filesystem::remove(sighting.path);
        closed.erase(found);
      }
    }
  }
  return samples;
}

Figures measureWatcher(Watcher& watcher, const std::string& guarded) {
  tell(watcher.name());
  const std::string folder = guarded + "/single";
  makeOrdinaryFolder(folder);
  watcher.start();
  if (!awaitWatching(watcher, guarded, patience)) {
    throw std::runtime_error(watcher.name() + " does not watch; see " + watcher.log());
  }
  Figures figures{measureSize(watcher, folder, small), measureSize(watcher, folder, large)};
  watcher.stop();
  std::filesystem::remove_all(folder);
  return figures;
}

// A bare client is started when the file is closed: the least that one could do by hand.
template <typename Scan>
Samples measureBare(Bench& bench, std::size_t bytes, const Scan& scan) {
  static int number = 20000;
  Samples samples;
  const std::string path = bench.root() + "/single";
  for (int round = 0; round < roundsOf(files); ++round) {
    writeFile(path, contentsOf(bytes, number++));
    const Seconds begin = now();
    scan(path);
    samples.add((now() - begin).count());
    std::filesystem::remove(path);
  }
  return samples;
}

Figures measureClient(Bench& bench) {
  const auto scan = [&](const std::string& path) {
    run({"/usr/bin/clamdscan", "--config-file=" + bench.peers().configuration(), "--fdpass",
         "--multiscan", path},
        {"PATH=/usr/bin:/bin"});
  };
  return {measureBare(bench, small, scan), measureBare(bench, large, scan)};
}

Figures measureSession(Bench& bench) {
  const auto scan = [&](const std::string& path) {
    if (scanInSession(bench.peers().socket(), {path}) != 1) {
      throw std::runtime_error("the bare session did not find the file");
    }
  };
  return {measureBare(bench, small, scan), measureBare(bench, large, scan)};
}

void add(Table& table, const std::string& name, const Figures& figures, const Figures& bare) {
  const auto cell = [](const Samples& samples) {
    return samples.empty() ? Cell("not scanned") : Cell(samples);
  };
  const auto over = [](const Samples& samples, const Samples& others) {
    return samples.empty() ? Cell("–") : Cell(threeDigits(samples.median() / others.median()));
  };
  table.rows.push_back({name,
                        {cell(figures.small), over(figures.small, bare.small), cell(figures.large),
                         over(figures.large, bare.large)}});
}

}  // namespace

std::vector<Table> measureSingleFile(Bench& bench) {
  Table table;
  table.title = "One file, from its closing to the verdict";
  table.columns = {"Way", "1 KB, s", "over bare clamdscan", "90 MB, s",
                   "over bare clamdscan (90 MB)"};
  ClamOnAcc shipped(bench.peers(), bench.guarded(), ClamOnAcc::Scanning::shipped);
  ClamOnAcc extra(bench.peers(), bench.guarded(), ClamOnAcc::Scanning::extra, "100M");
  tell("bare clients");
  bench.peers().start();
  const Figures client = measureClient(bench);
  const Figures session = measureSession(bench);
  bench.peers().stop();
  add(table, bench.agent().name(), measureWatcher(bench.agent(), bench.guarded()), client);
  add(table, shipped.name(), measureWatcher(shipped, bench.guarded()), client);
  add(table, extra.name() + ", files of up to 100 MB", measureWatcher(extra, bench.guarded()),
      client);
  add(table, "clamdscan --multiscan --fdpass", client, client);
  add(table, "bare session of descriptors", session, client);
  table.about = "One after the other, " + std::to_string(roundsOf(files)) +
                " of each size; each is infected, so that everyone tells of it.";
  table.notes = {
      "The agent waits until a file has held still for two measurements a second apart: most of "
      "its "
      "time, and by design.",
      "clamonacc scans when a file is opened or closed: a large one often while it is still being "
      "written, which counts as no time here though the rest of the file was not looked at.",
      "As Debian ships it clamonacc leaves files alone that are larger than 5 MB by then."};
  return {table};
}

}  // namespace bench
