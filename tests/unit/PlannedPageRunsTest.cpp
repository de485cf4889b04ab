// What the page says of scans that ran or run, and what it does one after another.

#include <gtest/gtest.h>

#include "tests/fakes/companion/PlannedPageFixture.h"

namespace quillo {
namespace {

using PlannedPageRunsTest = PlannedPageFixture;

TEST_F(PlannedPageRunsTest, LastTimeIsThatOfTheLastScanNotOfATimeThatPassedWithoutOne) {
  strings.texts["PLANNED_NOT_WHOLE"] = "%@, in part";
  strings.texts["PLANNED_END_NOT_KNOWN"] = "%@, ?";
  for (const char* id : {"cut", "lost", "stopped", "whole", "young"}) {
    plan(id);
    system.scans.back().lastRun = 9;
  }
  system.scans.back().lastRun = 0;
  ScanRun run;
  run.started = WallTime(std::chrono::seconds(7));
  last.emplace()["cut"] = run;
  run.ended = run.started;
  (*last)["whole"] = run;
  run.end = ScanRun::End::stopped;
  (*last)["stopped"] = run;
  shown();
  std::vector<std::string> said;
  for (std::size_t row = 0; row < 5; ++row) {
    said.push_back(ui.row("plans", row).cells[2]);
  }
  EXPECT_EQ(said, (std::vector<std::string>{"time 7, in part", "time 9, ?", "time 7, in part",
                                            "time 7", "<PLANNED_NOT_YET>"}));
  last.reset();
  shown();
  EXPECT_EQ(ui.row("plans", 1).cells[2], "time 9");
}

TEST_F(PlannedPageRunsTest, ScanThatRunsIsSaidToAndCanBeEnded) {
  plan("a");
  window.show("planned");
  answered();
  ui.select("plans", {0});
  EXPECT_FALSE(ui.isEnabled("endNow"));
  system.scans[0].isRunning = true;
  system.hasChanged();
  answered();
  EXPECT_EQ(ui.row("plans", 0).cells[2], "<PLANNED_RUNS>");
  EXPECT_TRUE(ui.isEnabled("endNow"));
  EXPECT_TRUE(ui.isEnabled("change"));
  EXPECT_FALSE(ui.isEnabled("runNow"));
  EXPECT_FALSE(ui.isEnabled("remove"));
  ui.press("endNow");
  system.scans[0].isRunning = false;
  answered();
  EXPECT_EQ(system.ended, std::vector<std::string>{"a"});
  EXPECT_EQ(ui.text("state"), "<PLANNED_ENDED>");
  EXPECT_FALSE(ui.isEnabled("endNow"));
}

TEST_F(PlannedPageRunsTest, NobodyAsksTheSystemForAPageThatIsNotSeen) {
  window.show("planned");
  answered();
  window.show("overview");
  const std::size_t asked = threads.names().size();
  system.hasChanged();
  EXPECT_EQ(threads.names().size(), asked);
}

TEST_F(PlannedPageRunsTest, AnswerGivenWhileTheSystemIsAskedIsNotLost) {
  plan("a");
  shown();
  ui.select("plans", {0});
  ui.press("remove");
  page.refresh();
  window.answer("<PLANNED_REMOVE_YES>");
  answered();
  answered();
  EXPECT_TRUE(system.scans.empty());
}

TEST_F(PlannedPageRunsTest, EveryAnswerGivenMeanwhileIsDoneAndSaidInItsOrder) {
  plan("a");
  plan("b");
  shown();
  ui.select("plans", {0});
  ui.press("remove");
  ui.select("plans", {1});
  ui.press("remove");
  page.refresh();
  window.answer("<PLANNED_REMOVE_YES>");
  window.answer("<PLANNED_REMOVE_YES>");
  page.refresh();
  answered();
  answered();
  EXPECT_EQ(system.scans.size(), 1U);
  system.problem = {"PLANNED_REFUSED", {"not today"}};
  answered();
  EXPECT_EQ(system.scans.size(), 1U);
  EXPECT_EQ(ui.text("state"), "<PLANNED_REMOVED>\n<PLANNED_REFUSED>");
  answered();
  EXPECT_EQ(ui.rowCount("plans"), 1U);
}

}  // namespace
}  // namespace quillo
