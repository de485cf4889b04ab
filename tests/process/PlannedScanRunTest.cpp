#include <gtest/gtest.h>

#include "companion/planned/PlannedScanRun.h"
#include "posix/Text.h"
#include "tests/fakes/companion/ManualScanBench.h"
#include "tests/process/FakeClientTree.h"

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
    return runToOutcome(paths, bench.services(), &bench.history);
  }

  wrapper::FakeClientTree tree;
  ManualScanBench bench;
};

TEST_F(PlannedScanRunTest, IsCompleteWhenAllIsClean) {
  const PlannedScanOutcome outcome = run({tree.file("clean")});
  EXPECT_EQ(outcome.found, 0U);
  EXPECT_TRUE(outcome.isComplete);
  EXPECT_EQ(outcome.words, "<SCAN_REPORT_NOTHING>\n1 clean");
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

}  // namespace
}  // namespace quillo
