#include <gtest/gtest.h>

#include "tests/fakes/companion/PlannedPageFixture.h"

namespace quillo {
namespace {

using Often = PlannedScan::Often;
using PlannedPageTest = PlannedPageFixture;

TEST_F(PlannedPageTest, EveryScanIsARowWithFoldersTimesAndRuns) {
  plan("a", Often::weekly);
  plan("b", Often::monthly);
  system.scans[0].lastRun = 7;
  system.scans[0].nextRun = 9;
  system.scans[1].isActive = false;
  strings.texts["PLANNED_WHEN_WEEKLY"] = "%@ at %@";
  strings.texts["PLANNED_WHEN_MONTHLY"] = "day %@ at %@";
  shown();
  ASSERT_EQ(ui.rowCount("plans"), 2U);
  EXPECT_EQ(ui.row("plans", 0).cells,
            (std::vector<std::string>{"/home/anna/a", "<PLANNED_WEDNESDAY> at 12:00", "time 7",
                                      "time 9"}));
  EXPECT_EQ(ui.row("plans", 1).cells,
            (std::vector<std::string>{"/home/anna/b", "day 3 at 12:00", "<PLANNED_NOT_YET>",
                                      "<PLANNED_OFF>"}));
  EXPECT_EQ(ui.row("plans", 1).sign, TableRows::Sign::warning);
  EXPECT_EQ(ui.titles("plans").size(), 4U);
}

TEST_F(PlannedPageTest, WhatIsPlannedIsAskedForWheneverThePageIsSeen) {
  window.show("planned");
  answered();
  EXPECT_EQ(ui.rowCount("plans"), 0U);
  plan("a");
  window.show("planned");
  answered();
  EXPECT_EQ(ui.rowCount("plans"), 1U);
}

TEST_F(PlannedPageTest, WhatSomebodyElsePlannedIsShownAsItIs) {
  plan("a", Often::other);
  system.scans[0].calendar = "Mon..Fri 12:00";
  system.scans[0].isUnderstood = false;
  shown();
  EXPECT_EQ(ui.row("plans", 0).cells[0], "<PLANNED_NOT_UNDERSTOOD>");
  EXPECT_EQ(ui.row("plans", 0).cells[1], "Mon..Fri 12:00");
}

TEST_F(PlannedPageTest, ScanByAnotherProgramIsShownAsSuchAndSavedAsOneByThis) {
  strings.texts["PLANNED_BY_OTHER"] = "%@ by %@";
  strings.texts["PLANNED_OTHER_PROGRAM"] = "runs %@";
  plan("a", Often::other);
  system.scans[0].isUnderstood = false;
  system.scans[0].otherProgram = "/old/vantrel";
  shown();
  EXPECT_EQ(ui.row("plans", 0).cells[0], "/home/anna/a by /old/vantrel");
  EXPECT_EQ(ui.row("plans", 0).sign, TableRows::Sign::warning);
  ui.select("plans", {0});
  ui.press("change");
  EXPECT_EQ(ui.text("editorProblem"), "was \nruns /old/vantrel");
  system.scans[0].often = Often::daily;
  shown();
  ui.press("change");
  EXPECT_EQ(ui.text("editorProblem"), "runs /old/vantrel");
  EXPECT_EQ(ui.choices("folders"), std::vector<std::string>{"/home/anna/a"});
}

TEST_F(PlannedPageTest, NothingPlannedIsSaid) {
  shown();
  EXPECT_TRUE(ui.isVisible("none"));
  plan("a");
  shown();
  EXPECT_FALSE(ui.isVisible("none"));
}

TEST_F(PlannedPageTest, NewScanIsPlannedAsTheEditorHasIt) {
  shown();
  ui.press("add");
  EXPECT_TRUE(ui.isVisible("editor"));
  ui.press("addFolder");
  const std::string documents = home.makeFolder("Documents");
  window.choosePaths({documents + "/", documents, "relative", home.at("gone"), home.write("file")});
  EXPECT_EQ(ui.text("editorProblem"), "<FOLDERS_NO_PATH>\n<FOLDERS_MISSING>\n<FOLDERS_IS_FILE>");
  ui.choose("often", 1);
  ui.choose("weekday", 6);
  ui.enter("hour", 8);
  ui.enter("minute", 30);
  ui.check("onlyOnMains", true);
  ui.press("save");
  answered();
  ASSERT_EQ(system.scans.size(), 1U);
  const PlannedScan& scan = system.scans[0];
  EXPECT_EQ(scan.folders, std::vector<std::string>{documents});
  EXPECT_EQ(scan.often, Often::weekly);
  EXPECT_EQ(scan.day, 7);
  EXPECT_EQ(scan.hour, 8);
  EXPECT_EQ(scan.minute, 30);
  EXPECT_TRUE(scan.onlyOnMains);
  EXPECT_FALSE(ui.isVisible("editor"));
  EXPECT_EQ(ui.text("state"), "<PLANNED_SAVED>");
  EXPECT_EQ(ui.rowCount("plans"), 1U);
}

TEST_F(PlannedPageTest, OnlyTheDayThatCountsIsAskedFor) {
  ui.press("add");
  EXPECT_FALSE(ui.isVisible("weekday"));
  EXPECT_FALSE(ui.isVisible("monthDay"));
  ui.choose("often", 1);
  EXPECT_TRUE(ui.isVisible("weekday"));
  ui.choose("often", 2);
  EXPECT_FALSE(ui.isVisible("weekday"));
  EXPECT_TRUE(ui.isVisible("monthDay"));
}

TEST_F(PlannedPageTest, ScanWithoutAFolderIsNotPlanned) {
  ui.press("add");
  ui.press("save");
  EXPECT_TRUE(threads.names().empty());
  EXPECT_EQ(ui.text("editorProblem"), "<PLANNED_NO_FOLDERS>");
  EXPECT_EQ(ui.focused, "addFolder");
  page.planFolders({home.makeFolder("a")});
  EXPECT_FALSE(ui.isVisible("editorProblem"));
  ui.press("removeFolder");
  ui.press("save");
  EXPECT_TRUE(ui.isVisible("editorProblem"));
}

TEST_F(PlannedPageTest, RefusedScanKeepsTheEditorOpen) {
  system.problem = {"PLANNED_REFUSED", {"not today"}};
  page.planFolders({home.path()});
  ui.press("save");
  answered();
  EXPECT_TRUE(ui.isVisible("editor"));
  EXPECT_EQ(ui.text("editorProblem"), "<PLANNED_REFUSED>");
  EXPECT_EQ(ui.rowCount("plans"), 0U);
}

TEST_F(PlannedPageTest, ChosenScanIsChangedUnderItsId) {
  plan("a", Often::monthly);
  plan("b");
  shown();
  ui.select("plans", {0});
  ui.press("change");
  EXPECT_EQ(ui.number("monthDay"), 3);
  ui.enter("hour", 23);
  ui.press("save");
  answered();
  ASSERT_EQ(system.scans.size(), 2U);
  EXPECT_EQ(system.scans[1].id, "a");
  EXPECT_EQ(system.scans[1].hour, 23);
  EXPECT_EQ(ui.selectedRows("plans"), std::vector<std::size_t>{1});
}

TEST_F(PlannedPageTest, EditorSaysWhichTimesItReplaces) {
  plan("a", Often::other);
  system.scans[0].calendar = "Mon..Fri 12:00";
  shown();
  ui.select("plans", {0});
  ui.press("change");
  EXPECT_EQ(ui.text("editorProblem"), "was Mon..Fri 12:00");
  EXPECT_EQ(ui.choice("often"), 0U);
}

TEST_F(PlannedPageTest, ScanIsRemovedOnlyAfterAQuestion) {
  plan("a");
  shown();
  ui.select("plans", {0});
  ui.press("remove");
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_TRUE(window.questions[0].isDangerous);
  window.answer("<PLANNED_REMOVE_NO>");
  EXPECT_EQ(system.scans.size(), 1U);
  ui.press("remove");
  window.answer("<PLANNED_REMOVE_YES>");
  answered();
  EXPECT_TRUE(system.scans.empty());
  EXPECT_EQ(ui.text("state"), "<PLANNED_REMOVED>");
}

TEST_F(PlannedPageTest, ScanCanBeRunNow) {
  plan("a");
  shown();
  ui.select("plans", {0});
  ui.press("runNow");
  answered();
  EXPECT_EQ(system.started, std::vector<std::string>{"a"});
  EXPECT_EQ(ui.text("state"), "<PLANNED_STARTED>");
  system.scans[0].onlyOnMains = true;
  shown();
  ui.select("plans", {0});
  ui.press("runNow");
  answered();
  EXPECT_EQ(ui.text("state"), "<PLANNED_STARTED_ON_MAINS>");
}

TEST_F(PlannedPageTest, ButtonsWaitForASelectionAndForTheSystem) {
  plan("a");
  shown();
  for (const char* button : {"change", "remove", "runNow"}) {
    EXPECT_FALSE(ui.isEnabled(button)) << button;
  }
  ui.select("plans", {0});
  EXPECT_TRUE(ui.isEnabled("change"));
  page.refresh();
  EXPECT_FALSE(ui.isEnabled("change"));
  EXPECT_FALSE(ui.isEnabled("add"));
  answered();
  EXPECT_TRUE(ui.isEnabled("change"));
}

TEST_F(PlannedPageTest, SystemThatCannotPlanIsSaid) {
  system.noSystem = {"PLANNED_NO_SYSTEMD"};
  shown();
  EXPECT_EQ(ui.text("state"), "<PLANNED_NO_SYSTEMD>");
  EXPECT_FALSE(ui.isVisible("none"));
}

TEST_F(PlannedPageTest, SystemWithoutAThreadIsSaid) {
  NoThreads none;
  FakePage other{"planned"};
  PlannedPage without(other, window, {application, strings, system, none, nullptr});
  without.refresh();
  EXPECT_EQ(other.text("state"), "<PLANNED_REFUSED>");
  EXPECT_TRUE(other.isEnabled("add"));
}

TEST_F(PlannedPageTest, FoldersThatAreDroppedArePlanned) {
  const std::string a = home.makeFolder("a");
  const std::string b = home.makeFolder("b");
  const std::string c = home.makeFolder("c");
  ui.drop("plans", {a, b});
  EXPECT_EQ(ui.choices("folders"), (std::vector<std::string>{a, b}));
  ui.drop("folders", {c + "/"});
  EXPECT_EQ(ui.choices("folders"), (std::vector<std::string>{a, b, c}));
}

}  // namespace
}  // namespace quillo
