// Measures a storm of files through the whole pipeline, side by side with the bare engine. Runs in
// mount and process namespaces of its own, as root; see ./bench.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/storm/BareEvents.h"
#include "benchmarks/support/Agent.h"
#include "benchmarks/support/Engine.h"
#include "benchmarks/support/StormFiles.h"
#include "benchmarks/world/OwnTmp.h"

namespace bench {
namespace {

constexpr int rounds = 5;

struct Round {
  double bareWriter = 0;     // seconds to write the storm, nobody watching
  double bareEvents = 0;     // the same with the kernel's events read and thrown away
  double watchedWriter = 0;  // the same with the agent watching
  double untilWatching = 0;  // from the engine's answer to the first file that is seen
  double pipeline = 0;       // from the first write to the last verdict
  double bareEngine = 0;
  double processor = 0;    // of agent and helper, for this storm
  double treesEngine = 0;  // the tree's client on the bare engine's lists
  double client = 0;       // its processor time
  double bareClient = 0;   // the bare client's
  Usage agent;
  Usage helper;
  double memoryAfterwards = 0;  // of both, with nothing waiting any more
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// `times` as a figure: median, least and greatest.
double print(const char* what, std::vector<double> values, const char* unit) {
  const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
  std::printf("%-46s %8.3f %s  (%.3f to %.3f)\n", what, median(values), unit, *least, *greatest);
  return median(values);
}

// A storm into a folder that is gone again afterwards: every storm finds memory as the last one
// did.
double writeAndRemove(const std::string& folder) {
  makeOrdinaryFolder(folder);
  const double seconds = writeStorm(folder).count();
  std::filesystem::remove_all(folder);
  return seconds;
}

void measureWatched(Agent& agent, Round& round) {
  const std::string folder = agent.guarded() + "/storm";
  makeOrdinaryFolder(folder);
  SightingLog log(agent.log(), agent.lines(), folder);
  const Usage agentBefore = agent.usage();
  const Usage helperBefore = agent.helperUsage();
  const Seconds begin = now();
  round.watchedWriter = writeStorm(folder).count();
  const Storm& storm = tenThousandFiles;
  const Seen seen = awaitStorm(agent, log, storm.files);
  round.pipeline = (seen.last - begin).count();
  if (seen.files != storm.files || seen.infected != storm.infected) {
    throw std::runtime_error(
        "named " + std::to_string(seen.files) + " of " + std::to_string(storm.files) + " files, " +
        std::to_string(seen.infected) + " of " + std::to_string(storm.infected) + " infected ones");
  }
  round.agent = agent.usage();
  round.helper = agent.helperUsage();
  round.memoryAfterwards = proportionalMegabytes(agent.processes());
  round.processor = round.agent.processorSeconds - agentBefore.processorSeconds +
                    round.helper.processorSeconds - helperBefore.processorSeconds;
  std::filesystem::remove_all(folder);
}

Round measureRound(Agent& agent, const std::string& root) {
  Round round;
  round.bareWriter = writeAndRemove(root + "/unwatched");
  {
    const BareEvents events(root);
    round.bareEvents = writeAndRemove(root + "/events");
  }
  round.untilWatching = agent.startAndAwaitWatching().count();
  measureWatched(agent, round);
  // Written anew, so that the engine meets files that it has not seen in either case.
  const std::string bare = root + "/bare";
  makeOrdinaryFolder(bare);
  writeStorm(bare);
  const ScanCost bareCost =
      scanWithBareEngine(agent.tree(), stormPaths(bare), agent.environment(), root);
  round.bareEngine = bareCost.time.count();
  round.bareClient = bareCost.processor.count();
  std::filesystem::remove_all(bare);
  const std::string trees = root + "/trees";
  makeOrdinaryFolder(trees);
  writeStorm(trees);
  const ScanCost cost = scanWithTree(agent.tree(), stormPaths(trees), agent.environment(), root);
  round.treesEngine = cost.time.count();
  round.client = cost.processor.count();
  std::filesystem::remove_all(trees);
  agent.stop();
  return round;
}

std::vector<double> each(const std::vector<Round>& all, double Round::*member) {
  std::vector<double> values;
  for (const Round& round : all) {
    values.push_back(round.*member);
  }
  return values;
}

std::vector<double> eachRatio(const std::vector<Round>& all, double Round::*over,
                              double Round::*under) {
  std::vector<double> values;
  for (const Round& round : all) {
    values.push_back(round.*over / round.*under);
  }
  return values;
}

void printRounds(const std::vector<Round>& all) {
  std::printf("10,000 files of 1 KB, ten of them infected; median of %d (least to greatest)\n",
              rounds);
  const double pipeline = print("first write to last verdict", each(all, &Round::pipeline), "s");
  const double bare =
      print("bare clamdscan, runs of 200, two at a time", each(all, &Round::bareEngine), "s");
  print("pipeline over bare engine", eachRatio(all, &Round::pipeline, &Round::bareEngine), "x");
  std::printf("%-46s %8.3f s\n", "pipeline less 0.6 x bare engine (at most 2.5)",
              pipeline - 0.6 * bare);
  print("the tree's clamdscan, runs of 200, two at a time", each(all, &Round::treesEngine), "s");
  print("processor time of the bare client", each(all, &Round::bareClient), "s");
  print("processor time of the tree's client", each(all, &Round::client), "s");
  print("tree's client over bare client (at most 0.3)",
        eachRatio(all, &Round::client, &Round::bareClient), "x");
  print("writer, unwatched", each(all, &Round::bareWriter), "s");
  print("writer, events read and thrown away", each(all, &Round::bareEvents), "s");
  print("writer, watched", each(all, &Round::watchedWriter), "s");
  print("kernel's own slow-down of the writer",
        eachRatio(all, &Round::bareEvents, &Round::bareWriter), "x");
  print("writer's slow-down (at most 1.25)",
        eachRatio(all, &Round::watchedWriter, &Round::bareWriter), "x");
  print("processor time of agent and helper (at most 0.15)", each(all, &Round::processor), "s");
  // With the ten warnings of the storm on the screen or waiting.
  std::vector<double> memory;
  for (const Round& round : all) {
    memory.push_back(round.agent.peakMegabytes + round.helper.peakMegabytes);
  }
  print("most memory in use, files waiting", memory, "MB");
  print("nothing waiting, a warning shown (under 40)", each(all, &Round::memoryAfterwards), "MB");
  print("engine's answer to watching, 100,000 folders", each(all, &Round::untilWatching), "s");
}

void runStorm(const std::string& buildFolder) {
  const std::string root = "/tmp/storm";
  const std::string build = held(buildFolder);
  coverTmp();
  std::filesystem::create_directories(root);
  Agent agent(root, build);
  makeWideTree(agent.guarded() + "/wide", 100000);
  std::vector<Round> all;
  for (int number = 0; number < rounds; ++number) {
    all.push_back(measureRound(agent, root));
  }
  printRounds(all);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: storm_bench BUILD-FOLDER\n");
    return 2;
  }
  try {
    bench::runStorm(argv[1]);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "storm_bench: %s\n", failure.what());
    return 1;
  }
}
