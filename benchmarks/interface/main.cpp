// Measures what the agent's interface costs and how quickly it answers, on a desktop of its own.
//
//   interface_bench BUILD-FOLDER [start] [window] [lists] [idle] [scan] [dock] [answers]

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/interface/BusTraffic.h"
#include "benchmarks/interface/Figures.h"
#include "benchmarks/interface/Lists.h"
#include "benchmarks/interface/Stage.h"
#include "benchmarks/world/OwnTmp.h"

namespace bench {
namespace {

constexpr int starts = 9;
constexpr int rounds = 3;
constexpr Milliseconds settling(3000);
constexpr Milliseconds idleSpan(10000);
constexpr Milliseconds animatedSpan(10000);
constexpr int loadSeconds = 10;
constexpr int warnings = 1000;

void measureStart(Stage& stage) {
  stage.setLoadSeconds(loadSeconds);
  std::vector<double> times;
  for (int number = 0; number < starts; ++number) {
    times.push_back(stage.startAgent().count());
    stage.stopAgent();
  }
  stage.setLoadSeconds(0);
  print("start to icon in the panel, engine loading (150)", times, "ms");
}

void measureWindow(Stage& stage) {
  const auto measure = [&](const std::string& page, const std::string& title) {
    std::vector<double> times;
    for (int number = 0; number < starts; ++number) {
      times.push_back(stage.startWindow(page, title).count());
    }
    print("start of the main application to its window, page " + page + " (400)", times, "ms");
  };
  measure("overview", "Overview");
  measure("settings", "Settings");
}

void measureIdle(Stage& stage) {
  std::vector<double> messages;
  std::vector<double> wakes;
  stage.startAgent();
  stage.awaitWatching();
  pause(settling);
  for (int number = 0; number < rounds; ++number) {
    stage.traffic().clear();
    const double before = wakeUps(stage.agent());
    pause(idleSpan);
    wakes.push_back(wakeUps(stage.agent()) - before);
    messages.push_back(stage.messagesOfAgent());
  }
  stage.stopAgent();
  print("D-Bus messages in 10 s of watching, no change (0)", messages, "");
  print("wake-ups in 10 s of watching, no change", wakes, "");
}

// Shares of one core, in percent, while the animation runs.
void measureAnimation(Stage& stage, const std::string& preference, const std::string& what) {
  stage.setPreferences(preference);
  stage.startAgent();
  stage.awaitWatching();
  stage.setEngine("hang");
  stage.changeFiles(1);
  pause(settling);
  std::vector<double> agent;
  std::vector<double> panel;
  std::vector<double> both;
  std::vector<double> messages;
  const std::vector<pid_t> panelProcesses = Stage::panel();
  for (int number = 0; number < rounds; ++number) {
    const double agentBefore = processorMilliseconds(stage.agent());
    const double panelBefore = processorMilliseconds(panelProcesses);
    stage.traffic().clear();
    pause(animatedSpan);
    const double span = animatedSpan.count() / 100;
    agent.push_back((processorMilliseconds(stage.agent()) - agentBefore) / span);
    panel.push_back((processorMilliseconds(panelProcesses) - panelBefore) / span);
    both.push_back(agent.back() + panel.back());
    messages.push_back(stage.messagesOfAgent() / (animatedSpan.count() / 1000));
  }
  stage.stopAgent();
  stage.setEngine("clean");
  stage.setPreferences("");
  print("processor while scanning" + what + ": agent", agent, "%");
  print("processor while scanning" + what + ": panel", panel, "%");
  print("processor while scanning" + what + ": together (3)", both, "%");
  print("D-Bus messages while scanning" + what, messages, "/s");
}

// The worst answer of each round, and the usual one.
void measureAnswers(Stage& stage, const std::string& what,
                    const std::function<void()>& duringQuestions) {
  std::vector<double> worst;
  std::vector<double> usual;
  for (int number = 0; number < rounds; ++number) {
    stage.startAgent();
    Probe probe(stage.busAddress(), stage.item());
    duringQuestions();
    const std::vector<double> answers = probe.finish();
    worst.push_back(*std::max_element(answers.begin(), answers.end()));
    usual.push_back(quantile(answers, 0.5));
    stage.stopAgent();
    stage.setEngine("clean");
  }
  print("answer while " + what + ": worst (100)", worst, "ms");
  print("answer while " + what + ": median", usual, "ms");
}

void measureAllAnswers(Stage& stage) {
  stage.setLoadSeconds(loadSeconds);
  measureAnswers(stage, "the engine loads", [&] { stage.awaitWatching(); });
  stage.setLoadSeconds(0);
  measureAnswers(stage, "a thousand warnings arrive", [&] {
    stage.awaitWatching();
    stage.setEngine("infected");
    stage.changeFiles(warnings);
    stage.awaitLog("Test.Threat FOUND", warnings);
    pause(settling);
  });
  measureAnswers(stage, "a scanner hangs", [&] {
    stage.awaitWatching();
    stage.setEngine("hang");
    stage.changeFiles(1);
    pause(2 * settling);
  });
}

void run(const std::string& buildFolder, const std::set<std::string>& parts) {
  const std::string build = held(buildFolder);
  coverTmp();
  std::filesystem::create_directories("/tmp/interface");
  Stage stage(build, "/tmp/interface");
  std::printf(
      "Targets in brackets; median (least to greatest) of %d starts, of 5 windows with long lists, "
      "else of %d rounds\n",
      starts, rounds);
  const auto wanted = [&](const char* part) { return parts.empty() || parts.count(part) > 0; };
  if (wanted("start")) {
    measureStart(stage);
  }
  if (wanted("window")) {
    measureWindow(stage);
  }
  if (wanted("lists")) {
    measureLists(stage);
  }
  if (wanted("idle")) {
    measureIdle(stage);
  }
  if (wanted("scan")) {
    measureAnimation(stage, "", "");
  }
  if (wanted("dock")) {
    measureAnimation(stage, "ShowDockIcon = \"both\"", ", with Dock tile");
  }
  if (wanted("answers")) {
    measureAllAnswers(stage);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr,
                 "usage: interface_bench BUILD-FOLDER [start] [window] [lists] [idle] [scan] "
                 "[dock] [answers]\n");
    return 2;
  }
  try {
    bench::run(argv[1], {argv + 2, argv + argc});
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "interface_bench: %s\n", failure.what());
    return 1;
  }
}
