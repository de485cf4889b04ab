// What the page shows of scans that are over, and does with their finds.

#include <gtest/gtest.h>

#include "tests/process/ScanPageFixture.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Presence = AgentPresence;
using ScanPageTest = ScanPageFixture;

TEST_F(ScanPageTest, ShowsNothingButChoicesAtFirst) {
  for (const char* hidden : {"progressBox", "findsBox", "leftOutBox", "startAgent", "startWatching",
                             "scanAgain", "volumesBox", "report"}) {
    EXPECT_FALSE(shown().isVisible(hidden)) << hidden;
  }
  EXPECT_TRUE(shown().isVisible("nothingYet"));
  EXPECT_TRUE(page->mayClose());
}

TEST_F(ScanPageTest, ScansChosenAndDroppedFiles) {
  shown().press("chooseFiles");
  window.choosePaths({tree.file("infected")});
  EXPECT_TRUE(shown().isVisible("progressBox"));
  EXPECT_FALSE(shown().isVisible("nothingYet"));
  ASSERT_TRUE(awaitReport());
  EXPECT_FALSE(shown().isVisible("nothingYet"));
  EXPECT_EQ(shown().rowCount("finds"), 1U);
  shown().drop("page", {tree.file("clean")});
  ASSERT_TRUE(awaitReport());
  EXPECT_EQ(shown().rowCount("finds"), 0U);
  EXPECT_FALSE(shown().isVisible("findsBox"));
  EXPECT_EQ(shown().text("report"), "<SCAN_REPORT_NOTHING>\n<SCAN_REPORT_CLEAN_ONE>");
}

TEST_F(ScanPageTest, FollowsVolumesThatComeAndGoAndKeepsTheChosenOne) {
  volumes = {"/media/b"};
  volumeChanges.observer();
  ASSERT_TRUE(shown().isVisible("volumesBox"));
  volumes = {"/media/a", "/media/b"};
  volumeChanges.observer();
  EXPECT_EQ(shown().choice("volumes"), 1U);
  volumes = {"/media/a"};
  volumeChanges.observer();
  EXPECT_EQ(shown().choice("volumes"), 0U);
  volumes = {};
  volumeChanges.observer();
  EXPECT_FALSE(shown().isVisible("volumesBox"));
  page.reset();
  EXPECT_FALSE(volumeChanges.observer);
}

TEST_F(ScanPageTest, ListsVolumesWhenItIsShownAndScansTheChosenOne) {
  volumes = {"/nowhere", tree.files().makeFolder("stick")};
  tree.file("stick/infected");
  window.show("scan");
  ASSERT_TRUE(shown().isVisible("volumesBox"));
  shown().choose("volumes", 1);
  shown().press("scanVolume");
  ASSERT_TRUE(awaitReport());
  EXPECT_EQ(shown().rowCount("finds"), 1U);
}

TEST_F(ScanPageTest, ShowsFindsAndWhatWasNotScannedApart) {
  ASSERT_TRUE(scan({tree.file("infected"), tree.files().write("empty", "")}));
  ASSERT_EQ(shown().rowCount("finds"), 1U);
  ASSERT_EQ(shown().rowCount("leftOut"), 1U);
  EXPECT_EQ(shown().row("finds", 0).cells[0], path("infected"));
  EXPECT_EQ(shown().row("leftOut", 0).cells, (Lines{path("empty"), "<SCAN_REASON_EMPTY>"}));
  EXPECT_EQ(bench.history.calls().size(), 4U);
}

TEST_F(ScanPageTest, ScansWhatComesMeanwhileAfterwardsAndReportsBoth) {
  holdTheDaemon();
  page->scan({tree.file("infected1")});
  held.get_future().wait();
  page->scan({tree.file("infected2")});
  page->scan({tree.file("infected3")});
  letGo.set_value();
  ASSERT_TRUE(performUntil([this] { return shown().text("report") == "found 3\nclean 0"; }))
      << shown().text("report");
  EXPECT_EQ(shown().rowCount("finds"), 3U);
  tree.endDaemon();
}

TEST_F(ScanPageTest, MovesAllOfTheFindsToTheQuarantine) {
  ASSERT_TRUE(scan({tree.file("infected1"), tree.file("infected2")}));
  EXPECT_FALSE(shown().isEnabled("quarantine"));
  shown().check("forAll", true);
  shown().press("quarantine");
  EXPECT_FALSE(shown().isEnabled("trash"));
  ASSERT_TRUE(awaitReport());
  EXPECT_EQ(done(0), "to " + path("quarantine/infected1"));
  EXPECT_EQ(done(1), "to " + path("quarantine/infected2"));
  EXPECT_FALSE(TemporaryFolder::exists(path("infected1")));
  EXPECT_EQ(shown().text("report"), "<SCAN_MOVED_MANY>");
}

TEST_F(ScanPageTest, MovesTheChosenFindAlone) {
  ASSERT_TRUE(scan({tree.file("infected1"), tree.file("infected2")}));
  shown().select("finds", {1});
  const std::string chosen = shown().row("finds", 1).cells[0];
  const std::string other = shown().row("finds", 0).cells[0];
  shown().press("quarantine");
  ASSERT_TRUE(awaitReport());
  EXPECT_FALSE(TemporaryFolder::exists(chosen));
  EXPECT_TRUE(TemporaryFolder::exists(other));
}

TEST_F(ScanPageTest, OffersNoQuarantineWhereThereIsNone) {
  bench.desktop.preferenceStore.remove("QuarantineFolder");
  ASSERT_TRUE(scan({tree.file("infected")}));
  shown().select("finds", {0});
  EXPECT_FALSE(shown().isEnabled("quarantine"));
  EXPECT_TRUE(shown().isVisible("noQuarantine"));
  EXPECT_TRUE(shown().isEnabled("trash"));
}

TEST_F(ScanPageTest, AllowsFindsOnlyAfterAQuestion) {
  ASSERT_TRUE(scan({tree.file("infected")}));
  shown().select("finds", {0});
  shown().press("allow");
  window.answer("<SCAN_ALLOW_NO>");
  EXPECT_TRUE(allowed.allowed.empty());
  shown().press("allow");
  EXPECT_TRUE(window.questions.back().isDangerous);
  window.answer("<SCAN_ALLOW_YES>");
  EXPECT_EQ(allowed.allowed.count(path("infected")), 1U);
  EXPECT_EQ(done(0), "<SCAN_DONE_ALLOWED>");
}

TEST_F(ScanPageTest, SaysWhyAFindCannotBeAllowed) {
  ASSERT_TRUE(scan({tree.file("infected"), tree.file("infected2")}));
  allowed.problem = " cannot be read";
  shown().check("forAll", true);
  shown().press("allow");
  window.answer("<SCAN_ALLOW_YES>");
  const std::string first = shown().row("finds", 0).cells[0];
  const std::string second = shown().row("finds", 1).cells[0];
  EXPECT_EQ(shown().text("report"), first + " cannot be read\n" + second + " cannot be read");
  EXPECT_EQ(done(0), "<SCAN_DONE_LEFT>");
}

TEST_F(ScanPageTest, ShowsFindsInTheirFolderAndHasThemExcluded) {
  ASSERT_TRUE(scan({tree.file("infected")}));
  shown().select("finds", {0});
  shown().press("showInFolder");
  EXPECT_EQ(bench.desktop.workspace.selected, Lines{path("infected")});
  shown().press("exclude");
  EXPECT_EQ(excluded, Lines{path("infected")});
}

TEST_F(ScanPageTest, OffersToStartTheAgentWhenNobodyAnswers) {
  tree.endDaemon();
  ASSERT_TRUE(scan({tree.file("clean")}));
  ASSERT_TRUE(shown().isVisible("startAgent"));
  shown().press("startAgent");
  EXPECT_EQ(agent.starts, 1);
  EXPECT_EQ(shown().text("report"), "<SCAN_AGENT_STARTS>");
}

TEST_F(ScanPageTest, SaysThatTheAgentDidNotStart) {
  bench.desktop.localizedStrings.texts["SCAN_AGENT_FAILED"] = "failed: %@";
  tree.endDaemon();
  ASSERT_TRUE(scan({tree.file("clean")}));
  shown().press("startAgent");
  agent.startState = {false, {"", {"no memory"}}};
  agent.observer();
  EXPECT_EQ(shown().text("report"), "failed: no memory");
  EXPECT_TRUE(shown().isVisible("openHelp"));
}

TEST_F(ScanPageTest, LeadsToTheSettingsForWhatIsChosenThere) {
  bench.desktop.preferenceStore.remove("QuarantineFolder");
  bench.desktop.preferenceStore.remove("PathToClamav");
  EXPECT_TRUE(scan({tree.file("clean")}) && shown().isVisible("openSettings"));
  shown().press("chooseQuarantine");
  EXPECT_EQ(window.shownPage(), "settings");
}

TEST_F(ScanPageTest, OffersToHaveAnAgentWatchThatRunsAndDoesNot) {
  int asked = 0;
  page->offerToWatch([&] { ++asked; });
  tree.endDaemon();
  agent.runs = true;
  agent.state = "stopped";
  ASSERT_TRUE(scan({tree.file("clean")}));
  EXPECT_FALSE(shown().isVisible("startAgent"));
  shown().press("startWatching");
  EXPECT_EQ(asked, 1);
  agent.state = "starting";
  agent.observer();
  EXPECT_FALSE(shown().isVisible("startWatching"));
}

TEST_F(ScanPageTest, ScansTheSameAgainOnceTheDaemonAnswers) {
  tree.endDaemon();
  ASSERT_TRUE(scan({tree.file("clean"), tree.file("infected")}));
  tree.daemon(SessionClamd::truth);
  shown().press("scanAgain");
  ASSERT_TRUE(awaitReport());
  EXPECT_EQ(shown().rowCount("finds"), 1U);
  EXPECT_FALSE(shown().isVisible("scanAgain"));
}

TEST_F(ScanPageTest, SaysThatAScanCannotBegin) {
  NoThreads none;
  const ManualScanServices real = bench.services();
  const ManualScanServices scan{
      real.application, real.clock,     real.folders, real.localizedStrings, real.modifierKeys,
      real.preferences, real.systemLog, none,         real.volumes,          real.workspace};
  page = std::make_unique<ScanPage>(
      window, ScanPageServices{scan, agent, [] { return Lines(); }, volumeChanges, allowed, nullptr,
                               nullptr});
  page->scan({tree.file("clean")});
  EXPECT_TRUE(shown().isVisible("report"));
  EXPECT_TRUE(shown().text("report").starts_with("<SCAN_PROBLEM_FAILED>"));
  EXPECT_TRUE(page->mayClose());
}

TEST_F(ScanPageTest, OffersNoAgentThatRuns) {
  tree.endDaemon();
  agent.runs = true;
  ASSERT_TRUE(scan({tree.file("clean")}));
  EXPECT_FALSE(shown().isVisible("startAgent"));
}

}  // namespace
}  // namespace quillo
