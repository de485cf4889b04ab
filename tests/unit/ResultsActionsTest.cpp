#include <gtest/gtest.h>

#include <filesystem>

#include "scanning/PathPattern.h"
#include "tests/fakes/desktop/ResultsPageFixture.h"

namespace quillo {
namespace {

using ResultsActionsTest = ResultsPageFixture;

TEST_F(ResultsActionsTest, OffersOnlyWhatCanBeDoneWithTheSelection) {
  add(result("/srv/a"));
  add(result("/srv/b"));
  open();
  for (const char* const button : {"openFolder", "scanAgain", "exclude"}) {
    EXPECT_FALSE(shown.isEnabled(button)) << button;
  }
  shown.select("results", {0});
  for (const char* const button : {"openFolder", "scanAgain", "exclude"}) {
    EXPECT_TRUE(shown.isEnabled(button)) << button;
  }
  shown.select("results", {0, 1});
  EXPECT_FALSE(shown.isEnabled("openFolder"));
  EXPECT_TRUE(shown.isEnabled("scanAgain"));
  EXPECT_FALSE(shown.isEnabled("exclude"));
}

TEST_F(ResultsActionsTest, ShowsAFileWhereItLiesByNow) {
  const std::string quarantined = home.write("quarantine/virus.com");
  HistoryResult moved = result("/srv/virus.com", Kind::found, Outcome::quarantined);
  moved.detail = quarantined;
  add(moved);
  open();
  shown.select("results", {0});
  shown.press("openFolder");
  EXPECT_EQ(workspace.selected, std::vector<std::string>{quarantined});
}

TEST_F(ResultsActionsTest, OpensTheFolderOfAFileThatIsGoneAndSaysSo) {
  add(result(home.at("gone")));
  open();
  shown.select("results", {0});
  shown.press("openFolder");
  EXPECT_EQ(workspace.opened, std::vector<std::string>{home.path()});
  EXPECT_EQ(shown.text("notice"), "gone: ~/gone");
  workspace.answer = false;
  shown.press("openFolder");
  EXPECT_EQ(shown.text("notice"), "no folder: ~");
  EXPECT_TRUE(shown.isVisible("notice"));
}

TEST_F(ResultsActionsTest, ScansEachSelectedFileOnceThatIsStillThere) {
  const std::string there = home.write("there");
  add(result(there));
  add(result(there));
  add(result(home.at("gone")));
  open();
  shown.select("results", {0, 1, 2});
  shown.press("scanAgain");
  EXPECT_EQ(scanned, std::vector<std::string>{there});
  scanned.clear();
  shown.select("results", {0});
  shown.press("scanAgain");
  EXPECT_EQ(scanned, std::vector<std::string>());
  EXPECT_EQ(shown.text("notice"), "<RESULTS_ALL_GONE>");
}

TEST_F(ResultsActionsTest, ExcludesAFileOnlyAfterItShowedThePattern) {
  add(result("/srv/a.com"));
  open();
  shown.select("results", {0});
  shown.press("exclude");
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_EQ(window.questions[0].text, "Exclude /srv/a.com?");
  EXPECT_EQ(window.questions[0].detail, "a threat, pattern ^/srv/a\\.com$");
  EXPECT_TRUE(window.questions[0].isDangerous);
  EXPECT_EQ(window.questions[0].buttons.back(), "<RESULTS_EXCLUDE_NO>");
  EXPECT_TRUE(excluded.empty());
  window.answer("<RESULTS_EXCLUDE_NO>");
  EXPECT_TRUE(excluded.empty());
  shown.press("exclude");
  window.answer("<RESULTS_EXCLUDE_YES>");
  EXPECT_EQ(excluded, std::vector<std::string>{"^/srv/a\\.com$"});
}

TEST_F(ResultsActionsTest, ExcludesNoNameThatThePreferencesCannotHold) {
  add(result("/srv/\xFF"));
  open();
  shown.select("results", {0});
  shown.press("exclude");
  EXPECT_TRUE(window.questions.empty());
  EXPECT_EQ(shown.text("notice"), "<RESULTS_EXCLUDE_BYTES>");
}

TEST(ExpressionOfFile, MatchesTheFileAndNoOther) {
  for (const std::string path : {"/srv/a.b", "/srv/a[1]{2}(3)", "/srv/^$|?*+\\", "/srv/a\nb"}) {
    const PathPattern pattern(expressionOfFile(path));
    EXPECT_TRUE(pattern.matches(path)) << path;
    EXPECT_FALSE(pattern.matches(path + "x")) << path;
    EXPECT_FALSE(pattern.matches("/x" + path)) << path;
  }
  EXPECT_FALSE(PathPattern(expressionOfFile("/srv/a.b")).matches("/srv/aXb"));
}

TEST_F(ResultsActionsTest, AllowsAFindInItsPlaceOnceItsUserHasAgreed) {
  add(result("/srv/a.com"));
  open();
  shown.select("results", {0});
  shown.press("allow");
  window.answer("<RESULTS_ALLOW_NO>");
  EXPECT_TRUE(allowed.empty());
  shown.press("allow");
  EXPECT_TRUE(window.questions.back().isDangerous);
  window.answer("<RESULTS_ALLOW_YES>");
  EXPECT_EQ(allowed, std::vector<std::string>{"/srv/a.com"});
  EXPECT_EQ(shown.text("notice"), "<RESULTS_ALLOWED>");
}

TEST_F(ResultsActionsTest, SaysWhyAFindIsNotAllowed) {
  problem = "it is gone";
  add(result("/srv/a.com"));
  open();
  shown.select("results", {0});
  shown.press("allow");
  window.answer("<RESULTS_ALLOW_YES>");
  EXPECT_EQ(shown.text("notice"), "it is gone");
}

TEST_F(ResultsActionsTest, LeadsFromWhatWasMovedToTheQuarantine) {
  add(result("/srv/a.com"));
  HistoryResult moved = result("/srv/b.com", Kind::found, Outcome::quarantined);
  moved.detail = home.write("quarantine/b.com");
  add(moved);
  add(result("/srv/c.com", Kind::notScanned, Outcome::unsaid));
  open();
  shown.select("results", {1});
  EXPECT_FALSE(shown.isEnabled("allow"));
  EXPECT_TRUE(shown.isEnabled("showQuarantine"));
  shown.press("showQuarantine");
  EXPECT_EQ(shownInQuarantine, moved.detail);
  for (const std::size_t row : {0, 2}) {
    shown.select("results", {row});
    EXPECT_FALSE(shown.isEnabled("showQuarantine")) << row;
  }
  EXPECT_TRUE(shown.isEnabled("allow"));
}

TEST_F(ResultsActionsTest, ShowsAFileInItsOldPlaceOnceItWasPutBack) {
  const std::string path = home.write("virus.com");
  HistoryResult moved = result(path, Kind::found, Outcome::quarantined);
  moved.detail = home.at("quarantine/virus.com");
  add(moved);
  open();
  shown.select("results", {0});
  EXPECT_FALSE(shown.isEnabled("showQuarantine"));
  shown.press("openFolder");
  EXPECT_EQ(workspace.selected, std::vector<std::string>{path});
  shown.press("scanAgain");
  EXPECT_EQ(scanned, std::vector<std::string>{path});
}

TEST_F(ResultsActionsTest, AllowsTheFileThatLayThereWhenItAsked) {
  const std::string path = home.write("virus.com");
  const auto asked = FileIdentity::at(path);
  HistoryResult find = result(path);
  find.time = std::chrono::system_clock::now();
  add(find);
  open();
  shown.select("results", {0});
  shown.press("allow");
  std::filesystem::rename(home.write("other"), path);
  window.answer("<RESULTS_ALLOW_YES>");
  EXPECT_TRUE(allowedFile);
  EXPECT_EQ(allowedFile, asked);
}

TEST_F(ResultsActionsTest, ScansAgainInsteadOfAllowingWhatHasChangedSinceItWasFound) {
  const std::string path = home.write("virus.com");
  HistoryResult find = result(path);
  find.time = std::chrono::system_clock::now() - std::chrono::seconds(2);
  add(find);
  open();
  shown.select("results", {0});
  shown.press("allow");
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_EQ(window.questions[0].text, "<RESULTS_CHANGED_QUESTION>");
  window.answer("<RESULTS_ALLOW_NO>");
  EXPECT_TRUE(scanned.empty());
  shown.press("allow");
  window.answer("<RESULTS_CHANGED_YES>");
  EXPECT_EQ(scanned, std::vector<std::string>{path});
  EXPECT_TRUE(allowed.empty());
}

}  // namespace
}  // namespace quillo
