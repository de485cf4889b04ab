#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "agent/ScannerCount.h"
#include "agent/StatusBoard.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

class StatusBoardTest : public testing::Test {
 protected:
  StatusBoardTest() {
    setenv("TZ", "UTC0", 1);
    tzset();
  }
  ~StatusBoardTest() override {
    unsetenv("TZ");
    tzset();
  }

  FakePlatform desktop;
  ManualClock clock;
  ScannerCount scannerCount{clock};
  StatusBoard statusBoard{
      {clock, desktop.dockTile, desktop.folders, desktop.localizedStrings, scannerCount}};
};

TEST_F(StatusBoardTest, CountsTheFilesOfAllRunningScans) {
  statusBoard.runBegan(200);
  statusBoard.runBegan(3);
  EXPECT_EQ(statusBoard.status().filesBeingScanned, 203U);
  EXPECT_EQ(scannerCount.scannerCount(), 2);
  statusBoard.runEnded(200);
  EXPECT_EQ(statusBoard.status().filesBeingScanned, 3U);
  EXPECT_EQ(scannerCount.scannerCount(), 1);
}

TEST_F(StatusBoardTest, ListsTheFoldersAsTheUserWritesThem) {
  statusBoard.setWatchedFolders({"/home/anna/Downloads/", "/srv/"});
  EXPECT_EQ(desktop.dockTile.watchedFolders(), (std::vector<std::string>{"~/Downloads/", "/srv/"}));
  EXPECT_EQ(statusBoard.status().watchedFolders, 2U);
}

TEST_F(StatusBoardTest, HasNewsOnceTheHistoryHasThem) {
  int changes = 0;
  statusBoard.setHasChanged([&] { ++changes; });
  statusBoard.verdictGiven(Verdict::parse("/srv/a: Name FOUND"));
  EXPECT_EQ(statusBoard.activity().verdicts, 0U);
  EXPECT_EQ(changes, 0);
  statusBoard.historyWritten(1);
  EXPECT_EQ(statusBoard.activity().verdicts, 1U);
  EXPECT_EQ(changes, 1);
}

TEST_F(StatusBoardTest, HasNoNewsOfFilesThatWereOnlyCounted) {
  statusBoard.historyWritten(0);
  EXPECT_EQ(statusBoard.activity().verdicts, 0U);
}

TEST_F(StatusBoardTest, HasNewsAtOnceWhileTheHistoryIsNotKept) {
  statusBoard.verdictGiven(Verdict::parse("/srv/a: Name FOUND"));
  statusBoard.setHistoryProblem("no room");
  EXPECT_EQ(statusBoard.activity().verdicts, 1U);
  statusBoard.verdictGiven(Verdict::parse("/srv/b: Name FOUND"));
  EXPECT_EQ(statusBoard.activity().verdicts, 2U);
}

TEST_F(StatusBoardTest, PutsNoVerdictsTogetherWhileNobodySeesThem) {
  statusBoard.verdictGiven(Verdict::parse("/srv/a: OK"));
  EXPECT_TRUE(desktop.dockTile.verdicts().empty());
}

TEST_F(StatusBoardTest, ShowsWhoeverComesToLookTheLastVerdictsWithTheTimesAtWhichTheyWereGiven) {
  for (int number = 1; number <= 12; ++number) {
    statusBoard.verdictGiven(Verdict::parse("/srv/" + std::to_string(number) + ": OK"));
    clock.advance(std::chrono::seconds(1));
  }
  statusBoard.showVerdicts();
  const std::vector<DockVerdict> verdicts = desktop.dockTile.verdicts();
  ASSERT_EQ(verdicts.size(), DockTile::keptVerdicts);
  EXPECT_EQ(verdicts.front(), (DockVerdict{"03:04:07", "/srv/3", "<SCANNED>", false}));
  EXPECT_EQ(verdicts.back().file, "/srv/12");
  statusBoard.showVerdicts();
  EXPECT_EQ(desktop.dockTile.verdicts().size(), DockTile::keptVerdicts);
}

TEST_F(StatusBoardTest, ReportsTimeFileAndThreatOrThatItWasScanned) {
  statusBoard.showVerdicts();
  statusBoard.verdictGiven(Verdict::parse("/home/anna/a.txt: OK"));
  statusBoard.verdictGiven(Verdict::parse("/srv/b.zip: Win.Test.A FOUND"));
  EXPECT_EQ(desktop.dockTile.verdicts(),
            (std::vector<DockVerdict>{{"03:04:05", "~/a.txt", "<SCANNED>", false},
                                      {"03:04:05", "/srv/b.zip", "Win.Test.A", true}}));
}

TEST_F(StatusBoardTest, KnowsFromAVerdictThatThereIsAnEngine) {
  statusBoard.setEngineMissing(true);
  EXPECT_TRUE(statusBoard.status().engineMissing);
  statusBoard.verdictGiven(Verdict::parse("/srv/a: OK"));
  EXPECT_FALSE(statusBoard.status().engineMissing);
}

}  // namespace
}  // namespace quillo
