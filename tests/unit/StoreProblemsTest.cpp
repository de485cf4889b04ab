#include <gtest/gtest.h>

#include <filesystem>

#include "companion/doctor/HelpFindings.h"
#include "companion/doctor/StoreProblems.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class StoreProblemsTest : public testing::Test {
 protected:
  void choose(const std::string& folder) {
    desktop.preferenceStore.set("QuarantineFolder", folder.c_str());
  }
  void moveThere() { desktop.preferenceStore.set("QuilloQuarantineFiles", true); }
  std::string quarantine() {
    return quarantineProblemOf(desktop.preferences, desktop.localizedStrings, desktop.systemLog);
  }

  const TemporaryFolder home;
  PassingClock clock;
  FakePlatform desktop;
};

TEST_F(StoreProblemsTest, AreNoneOfAQuarantineThatNobodyAsksFor) {
  EXPECT_EQ(quarantine(), "");
  choose(home.at("gone"));
  EXPECT_EQ(quarantine(), "");
}

TEST_F(StoreProblemsTest, AreNoneOfAQuarantineThatIsThere) {
  choose(home.makeFolder("q"));
  moveThere();
  EXPECT_EQ(quarantine(), "");
}

TEST_F(StoreProblemsTest, NameAQuarantineThatIsGone) {
  choose(home.at("gone"));
  moveThere();
  EXPECT_EQ(quarantine(), "<QUARANTINE_PROBLEM_MISSING>");
}

TEST_F(StoreProblemsTest, NameAQuarantineToWhichOthersMayWrite) {
  const std::string folder = home.makeFolder("q");
  std::filesystem::permissions(folder, std::filesystem::perms::all);
  choose(folder);
  EXPECT_EQ(quarantine(), "<QUARANTINE_PROBLEM_OTHERS_MAY_WRITE>");
}

TEST_F(StoreProblemsTest, NameRecordsThatAreNoFolder) {
  choose(home.makeFolder("q"));
  home.write("q/.vantrel-records");
  EXPECT_EQ(quarantine(), "<QUARANTINE_RECORDS_UNUSABLE>");
}

TEST_F(StoreProblemsTest, NameAHistoryThatIsDamaged) {
  EXPECT_EQ(historyProblemIn(home.path(), clock, desktop.localizedStrings), "");
  home.write("history.sqlite", std::string(5000, 'x'));
  EXPECT_EQ(historyProblemIn(home.path(), clock, desktop.localizedStrings),
            "<WINDOW_HISTORY_BROKEN>");
}

TEST(HelpFindingsTest, LookAsTheDoctorFoundThem) {
  FakeLocalizedStrings strings;
  strings.texts["HELP_CHECK_PANEL"] = "Panel";
  using Sign = Finding::Sign;
  const auto shown = helpFindingsOf({{"panel", "", Sign::warning, {"NONE"}, {"INSTALL"}},
                                     {"engine", "", Sign::problem, {"GONE"}},
                                     {"agent", "", Sign::good, {"RUNS"}},
                                     {"folder", "", Sign::unknown, {"WHO"}}},
                                    strings);
  ASSERT_EQ(shown.size(), 4U);
  EXPECT_EQ(shown[0].state, HelpFinding::State::warning);
  EXPECT_EQ(shown[0].subject, "Panel");
  EXPECT_EQ(shown[0].words, "<NONE>");
  EXPECT_EQ(shown[0].remedy, "<INSTALL>");
  EXPECT_EQ(shown[1].state, HelpFinding::State::problem);
  EXPECT_EQ(shown[2].state, HelpFinding::State::good);
  EXPECT_EQ(shown[2].remedy, "");
  EXPECT_EQ(shown[3].state, HelpFinding::State::unknown);
}

}  // namespace
}  // namespace quillo
