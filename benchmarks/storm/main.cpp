// Measures a storm of files on the whole road, side by side with the bare engine. Runs in mount and
// process namespaces of its own, as root; see ./bench.

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/storm/Agent.h"
#include "benchmarks/storm/BareEvents.h"
#include "benchmarks/storm/Engine.h"
#include "benchmarks/storm/Files.h"

namespace bench {
namespace {

constexpr int rounds = 5;

struct Round {
  double bareWriter = 0;     // seconds to write the storm, nobody watching
  double bareEvents = 0;     // the same with the kernel's events read and thrown away
  double watchedWriter = 0;  // the same with the agent watching
  double road = 0;           // from the first write to the last verdict
  double bareEngine = 0;
  double processor = 0;  // of agent and helper, for this storm
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

std::string freshFolder(const Agent& agent, const std::string& name) {
  const std::string folder = agent.guarded() + "/" + name;
  makeOrdinaryFolder(folder);
  return folder;
}

Round measureRound(Agent& agent, int number, const std::string& root) {
  Round round;
  const Usage agentBefore = agent.usage();
  const Usage helperBefore = agent.helperUsage();
  const std::string folder = freshFolder(agent, "storm" + std::to_string(number));
  const Seconds begin = now();
  round.watchedWriter = writeStorm(folder).count();
  const int infected = agent.awaitVerdicts(folder, fileCount);
  round.road = (now() - begin).count();
  if (infected != infectedCount) {
    throw std::runtime_error("found " + std::to_string(infected) + " of " +
                             std::to_string(infectedCount) + " infected files");
  }
  round.processor = agent.usage().processorSeconds - agentBefore.processorSeconds +
                    agent.helperUsage().processorSeconds - helperBefore.processorSeconds;
  // Written anew, so that the engine meets files that it has not seen in either case.
  const std::string bare = root + "/bare" + std::to_string(number);
  makeOrdinaryFolder(bare);
  writeStorm(bare);
  round.bareEngine =
      scanWithBareEngine(agent.tree(), stormPaths(bare), agent.environment(), root).count();
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

// The writer alone, then with events that nobody makes use of.
std::vector<Round> measureWriter(const std::string& root) {
  std::vector<Round> all(rounds);
  for (std::size_t number = 0; number < all.size(); ++number) {
    const std::string folder = root + "/unwatched" + std::to_string(number);
    makeOrdinaryFolder(folder);
    all[number].bareWriter = writeStorm(folder).count();
    makeOrdinaryFolder(folder + "-events");
    const BareEvents events(root);
    all[number].bareEvents = writeStorm(folder + "-events").count();
  }
  return all;
}

void runStorm(const std::string& buildFolder) {
  const std::string root = "/tmp/storm";
  // Held open, for it may lie in the /tmp that is about to be covered.
  const int held = open(buildFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  const std::string build = "/proc/self/fd/" + std::to_string(held);
  if (mount("storm", "/tmp", "tmpfs", 0, "mode=1777") != 0) {
    throw std::runtime_error("cannot mount a private /tmp");
  }
  std::filesystem::create_directories(root);
  const std::vector<Round> writers = measureWriter(root);
  Agent agent(root, build);
  makeWideTree(agent.guarded() + "/wide", 100000);
  const double untilWatching = agent.startAndAwaitWatching().count();

  std::vector<Round> all;
  Usage agentMemory;
  Usage helperMemory;
  for (int number = 0; number < rounds; ++number) {
    all.push_back(measureRound(agent, number, root));
    const Round& writer = writers[static_cast<std::size_t>(number)];
    all.back().bareWriter = writer.bareWriter;
    all.back().bareEvents = writer.bareEvents;
    if (number == 0) {
      // Of one storm with its ten warnings on the screen: nobody answers them here, and fifty
      // windows would be measured at the end.
      agentMemory = agent.usage();
      helperMemory = agent.helperUsage();
    }
  }

  std::printf("10,000 files of 1 KB, ten of them infected; median of %d (least to greatest)\n",
              rounds);
  const double road = print("first write to last verdict", each(all, &Round::road), "s");
  const double bare =
      print("bare clamdscan, runs of 200, two at a time", each(all, &Round::bareEngine), "s");
  print("road over bare engine", eachRatio(all, &Round::road, &Round::bareEngine), "x");
  std::printf("%-46s %8.3f s\n", "road less 1.1 x bare engine (at most 3)", road - 1.1 * bare);
  print("writer, unwatched", each(all, &Round::bareWriter), "s");
  print("writer, events read and thrown away", each(all, &Round::bareEvents), "s");
  print("writer, watched", each(all, &Round::watchedWriter), "s");
  print("kernel's own slow-down of the writer",
        eachRatio(all, &Round::bareEvents, &Round::bareWriter), "x");
  print("writer's slow-down (at most 1.25)",
        eachRatio(all, &Round::watchedWriter, &Round::bareWriter), "x");
  print("processor time of agent and helper (at most 0.5)", each(all, &Round::processor), "s");
  std::printf("%-46s %8.1f MB (agent %.1f, helper %.1f)\n", "peak memory (under 40)",
              agentMemory.peakMegabytes + helperMemory.peakMegabytes, agentMemory.peakMegabytes,
              helperMemory.peakMegabytes);
  std::printf("%-46s %8.1f ms\n", "engine's answer to watching, 100,000 folders",
              untilWatching * 1000);
  agent.stop();
  stopDaemon(agent.tree());
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
