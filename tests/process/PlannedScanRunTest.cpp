#include <gtest/gtest.h>
#include <signal.h>

#include "companion/planned/PlannedScanRun.h"
#include "posix/Text.h"
#include "tests/fakes/companion/ManualScanBench.h"
#include "tests/fakes/engine/FakeClamd.h"
#include "tests/process/FakeClientTree.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class PlannedScanRunTest : public testing::Test {
 protected:
  PlannedScanRunTest() {
    bench.desktop.preferenceStore.set(
        "PathToClamav", deletingLastPathComponent(deletingLastPathComponent(tree.program())));
    bench.desktop.localizedStrings.texts = {{"SCAN_REPORT_CLEAN_ONE", "1 clean"},
                                            {"SCAN_REPORT_FOUND_ONE", "1 found"}};
  }
  PlannedScanOutcome run(const std::vector<std::string>& paths) {
    return runToOutcome(paths, bench.services(), &bench.history, engineAnswers);
  }

  wrapper::FakeClientTree tree;
  ManualScanBench bench;
  std::function<bool()> engineAnswers = [] { return true; };
};

TEST_F(PlannedScanRunTest, IsCompleteWhenAllIsClean) {
  const PlannedScanOutcome outcome = run({tree.file("clean")});
  EXPECT_EQ(outcome.found, 0U);
  EXPECT_TRUE(outcome.isComplete);
  EXPECT_EQ(outcome.words, "<SCAN_REPORT_NOTHING>\n1 clean");
}

TEST_F(PlannedScanRunTest, IsIncompleteWithoutDefinitionsAndSaysSo) {
  ManualScanServices services = bench.services();
  services.lacksDefinitions = [] { return true; };
  const PlannedScanOutcome outcome =
      runToOutcome({tree.file("clean")}, services, &bench.history, engineAnswers);
  EXPECT_FALSE(outcome.isComplete);
  EXPECT_TRUE(outcome.words.starts_with("<SCAN_REPORT_NO_DEFINITIONS>")) << outcome.words;
}

TEST_F(PlannedScanRunTest, CountsWhatItFindsAndKeepsIt) {
  const std::string infected = tree.file("infected");
  const PlannedScanOutcome outcome = run({infected});
  EXPECT_EQ(outcome.found, 1U);
  EXPECT_TRUE(outcome.words.starts_with("1 found")) << outcome.words;
  const std::vector<std::string> calls = bench.history.calls();
  EXPECT_EQ(calls, (std::vector<std::string>{"began 1", "verdict " + infected, "ended 1"}));
}

TEST_F(PlannedScanRunTest, IsIncompleteWhenSomethingIsNotThere) {
  EXPECT_FALSE(run({tree.file("clean"), tree.files().at("gone")}).isComplete);
}

TEST_F(PlannedScanRunTest, IsEndedInOrderBySigtermAlsoWhileItWaitsForTheEngine) {
  engineAnswers = [] {
    raise(SIGTERM);
    return false;
  };
  const PlannedScanOutcome outcome = run({tree.file("clean")});
  EXPECT_TRUE(outcome.isStopped);
  EXPECT_FALSE(outcome.isComplete);
  EXPECT_TRUE(outcome.words.starts_with("<SCAN_REPORT_STOPPED>")) << outcome.words;
  const std::vector<std::string> calls = bench.history.calls();
  EXPECT_EQ(calls, (std::vector<std::string>{"began 1", "ended 0"}));
}

TEST(PlannedScanEngine, IsWaitedForWhileItLoads) {
  PassingClock clock;
  const auto begin = clock.now();
  int questions = 0;
  EXPECT_TRUE(awaitEngine(
      clock, [&] { return ++questions == 4; }, [] { return false; }));
  EXPECT_GE(clock.now() - begin, std::chrono::seconds(3));
  EXPECT_LE(clock.now() - begin, std::chrono::minutes(1));
}

TEST(PlannedScanEngine, IsGivenUpAfterSomeMinutes) {
  PassingClock clock;
  const auto begin = clock.now();
  EXPECT_FALSE(awaitEngine(
      clock, [] { return false; }, [] { return false; }));
  EXPECT_GE(clock.now() - begin, std::chrono::minutes(10));
  EXPECT_LE(clock.now() - begin, std::chrono::minutes(11));
}

TEST(PlannedScanEngine, IsThereOnlyWhenItAnswersWhereItsConfigurationSays) {
  const TemporaryFolder engine;
  EXPECT_TRUE(isEngineThere(engine.path()));
  engine.write("etc/clamd.conf", "LocalSocket " + engine.path() + "/socket\n");
  EXPECT_FALSE(isEngineThere(engine.path()));
  const FakeClamd daemon(engine.path() + "/socket");
  EXPECT_TRUE(isEngineThere(engine.path()));
}

}  // namespace
}  // namespace quillo
