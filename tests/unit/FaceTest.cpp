#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "agent/Face.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

class FaceTest : public testing::Test {
 protected:
  FaceTest() {
    setenv("TZ", "UTC0", 1);
    tzset();
  }
  ~FaceTest() override {
    unsetenv("TZ");
    tzset();
  }

  FakePlatform desktop;
  ManualClock clock;
  Face face{{clock, desktop.dockTile, desktop.folders, desktop.localizedStrings}};
};

TEST_F(FaceTest, CountsTheFilesOfAllRunningScans) {
  face.runBegan(200);
  face.runBegan(3);
  EXPECT_EQ(face.status().filesBeingScanned, 203U);
  face.runEnded(200);
  EXPECT_EQ(face.status().filesBeingScanned, 3U);
}

TEST_F(FaceTest, ListsTheFoldersAsTheUserWritesThem) {
  face.setWatchedFolders({"/home/anna/Downloads/", "/srv/"});
  EXPECT_EQ(desktop.dockTile.watchedFolders(), (std::vector<std::string>{"~/Downloads/", "/srv/"}));
  EXPECT_EQ(face.status().watchedFolders, 2U);
}

TEST_F(FaceTest, PutsNoVerdictsTogetherWhileNobodySeesThem) {
  face.verdictGiven(Verdict::parse("/srv/a: OK"));
  EXPECT_TRUE(desktop.dockTile.verdicts().empty());
}

TEST_F(FaceTest, TellsWhoeverComesToLookOfTheLastVerdictsWithTheTimesAtWhichTheyWereGiven) {
  for (int number = 1; number <= 12; ++number) {
    face.verdictGiven(Verdict::parse("/srv/" + std::to_string(number) + ": OK"));
    clock.advance(std::chrono::seconds(1));
  }
  face.showVerdicts();
  const std::vector<DockVerdict> verdicts = desktop.dockTile.verdicts();
  ASSERT_EQ(verdicts.size(), DockTile::keptVerdicts);
  EXPECT_EQ(verdicts.front(), (DockVerdict{"03:04:07", "/srv/3", "<SCANNED>", false}));
  EXPECT_EQ(verdicts.back().file, "/srv/12");
  face.showVerdicts();
  EXPECT_EQ(desktop.dockTile.verdicts().size(), DockTile::keptVerdicts);
}

TEST_F(FaceTest, TellsTimeFileAndThreatOrThatItWasScanned) {
  face.showVerdicts();
  face.verdictGiven(Verdict::parse("/home/anna/a.txt: OK"));
  face.verdictGiven(Verdict::parse("/srv/b.zip: Win.Test.A FOUND"));
  EXPECT_EQ(desktop.dockTile.verdicts(),
            (std::vector<DockVerdict>{{"03:04:05", "~/a.txt", "<SCANNED>", false},
                                      {"03:04:05", "/srv/b.zip", "Win.Test.A", true}}));
}

TEST_F(FaceTest, KnowsFromAVerdictThatThereIsAnEngine) {
  face.setEngineMissing(true);
  EXPECT_TRUE(face.status().engineMissing);
  face.verdictGiven(Verdict::parse("/srv/a: OK"));
  EXPECT_FALSE(face.status().engineMissing);
}

}  // namespace
}  // namespace quillo
