#include <gtest/gtest.h>

#include <filesystem>

#include "companion/ResultsPage.h"
#include "history/HistoryStore.h"
#include "scanning/PathPattern.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/LaterThreads.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Kind = HistoryResult::Kind;
using Outcome = HistoryResult::Outcome;
using Cells = std::vector<std::string>;

class ResultsPageTest : public testing::Test {
 protected:
  ResultsPageTest() {
    strings.texts["RESULTS_COUNT_MANY"] = "%@ files";
    strings.texts["RESULTS_BUSY_COUNT_MANY"] = "%@ folders";
    strings.texts["RESULTS_DONE_NOT_MOVED_REASON"] = "not moved: %@";
    strings.texts["RESULTS_EXCLUDE_QUESTION"] = "Exclude %@?";
    strings.texts["RESULTS_EXCLUDE_DETAIL"] = "pattern %@";
    strings.texts["RESULTS_EXCLUDE_DETAIL_FOUND"] = "a threat, pattern %@";
    strings.texts["RESULTS_BROKEN"] = "broken: %@";
    strings.texts["RESULTS_UNREADABLE"] = "unreadable: %@";
    strings.texts["RESULTS_FILE_GONE"] = "gone: %@";
    strings.texts["RESULTS_FOLDER_GONE"] = "no folder: %@";
    strings.texts["SIZE_BYTES"] = "%@ bytes";
    strings.texts["SIZE_KB"] = "%@ KB";
    strings.texts["DIGITS_SEPARATOR"] = ",";
    strings.texts["DIGITS_GROUPED_FROM"] = "1000";
  }
  HistoryResult result(const std::string& path, Kind kind = Kind::found,
                       Outcome outcome = Outcome::leftInPlace) {
    HistoryResult made;
    made.time = clock.wallTime();
    made.kind = kind;
    made.outcome = outcome;
    made.path = path;
    made.says = kind == Kind::found ? "Eicar" : "too large";
    return made;
  }
  void add(const HistoryResult& one) { store.write({{one}, {}}); }
  ResultsPage& open() {
    if (!page) {
      page = std::make_unique<ResultsPage>(
          shown, window,
          ResultsServices{
              application, threads, clock, strings, workspace, folder, home.path(),
              [this](const std::vector<std::string>& paths) { scanned = paths; },
              [this](const std::string& expression) { excluded.push_back(expression); }});
    }
    return *page;
  }
  Cells files() {
    Cells all;
    for (std::size_t row = 0; row < shown.rowCount("results"); ++row) {
      all.push_back(shown.row("results", row).cells.at(1));
    }
    return all;
  }
  // Lets a search come to its end.
  void search() {
    threads.runAll();
    application.performPosted();
  }

  const TemporaryFolder home;
  const std::string folder = home.at("state");
  PassingClock clock;
  FakeSystemLog log;
  FakeApplication application;
  FakeLocalizedStrings strings;
  FakeWorkspace workspace;
  LaterThreads threads;
  FakePage shown;
  FakeMainWindow window;
  std::vector<std::string> scanned;
  std::vector<std::string> excluded;
  HistoryStore store{folder, clock, log, {}};
  std::unique_ptr<ResultsPage> page;
};

TEST_F(ResultsPageTest, ShowsEachResultInWordsTheLatestFirst) {
  add(result(home.at("a/virus.com")));
  HistoryResult second = result("/srv/b", Kind::found, Outcome::notMoved);
  second.detail = "no room";
  second.source = ScanSource::planned;
  add(second);
  add(result("/srv/c", Kind::notScanned, Outcome::unsaid));
  open();
  ASSERT_EQ(shown.rowCount("results"), 3U);
  EXPECT_EQ(shown.text("summary"), "3 files");
  const TableRows::Row unscanned = shown.row("results", 0);
  EXPECT_EQ(unscanned.cells[3], "too large");
  EXPECT_EQ(unscanned.cells[4], "<RESULTS_DONE_NOT_SCANNED>");
  EXPECT_EQ(unscanned.sign, TableRows::Sign::warning);
  const TableRows::Row planned = shown.row("results", 1);
  EXPECT_EQ(planned.cells[4], "not moved: no room");
  EXPECT_EQ(planned.cells[5], "<RESULTS_SOURCE_PLANNED>");
  EXPECT_EQ(planned.sign, TableRows::Sign::threat);
  const TableRows::Row first = shown.row("results", 2);
  EXPECT_EQ(Cells(first.cells.begin() + 1, first.cells.end()),
            (Cells{"virus.com", "~/a", "Eicar", "<RESULTS_DONE_LEFT>", "<RESULTS_SOURCE_AGENT>"}));
}

TEST_F(ResultsPageTest, MarksWhatWasMovedAwayAsGood) {
  add(result("/srv/a", Kind::found, Outcome::quarantined));
  open();
  EXPECT_EQ(shown.row("results", 0).sign, TableRows::Sign::good);
}

TEST_F(ResultsPageTest, SaysThatThereIsNoHistoryYetAndShowsItWhenThereIs) {
  open();
  EXPECT_EQ(shown.text("summary"), "<RESULTS_NO_HISTORY>");
  EXPECT_FALSE(TemporaryFolder::exists(folder));
  add(result("/srv/a"));
  open().historyChanged();
  EXPECT_EQ(files(), Cells{"a"});
  EXPECT_EQ(shown.text("summary"), "<RESULTS_COUNT_ONE>");
}

TEST_F(ResultsPageTest, SaysWhyADamagedHistoryIsNotShown) {
  add(result("/srv/a"));
  open();
  store.close();
  for (const auto& file : fs::directory_iterator(folder)) {
    fs::remove(file.path());
  }
  home.write("state/history.sqlite", "no database, whatever it is called", 0600);
  open().historyChanged();
  EXPECT_TRUE(shown.text("summary").starts_with("broken: " + folder)) << shown.text("summary");
  EXPECT_EQ(shown.rowCount("results"), 0U);
}

TEST_F(ResultsPageTest, SearchesWithoutHoldingUpTheWindow) {
  add(result("/srv/invoice"));
  add(result("/srv/other"));
  open();
  shown.write("search", "INVOICE");
  EXPECT_EQ(shown.text("summary"), "<RESULTS_SEARCHING>");
  EXPECT_EQ(files(), (Cells{"other", "invoice"}));
  search();
  EXPECT_EQ(files(), Cells{"invoice"});
  EXPECT_EQ(shown.text("summary"), "<RESULTS_COUNT_ONE>");
}

TEST_F(ResultsPageTest, ShowsTheLastSearchOfSeveral) {
  add(result("/srv/a"));
  add(result("/srv/b"));
  open();
  shown.write("search", "/a");
  shown.write("search", "/b");
  std::swap(threads.bodies.front(), threads.bodies.back());
  search();
  EXPECT_EQ(files(), Cells{"b"});
}

TEST_F(ResultsPageTest, ForgetsASearchWhoseTextWasDeleted) {
  add(result("/srv/a"));
  open();
  shown.write("search", "nothing like it");
  shown.write("search", "");
  search();
  EXPECT_EQ(files(), Cells{"a"});
}

TEST_F(ResultsPageTest, EndsASearchWithThePage) {
  add(result("/srv/a"));
  open();
  shown.write("search", "a");
  page.reset();
  shown.setText("summary", "another page's");
  search();
  EXPECT_EQ(shown.text("summary"), "another page's");
}

TEST_F(ResultsPageTest, NarrowsDownByKindAndTime) {
  HistoryResult old = result("/srv/old");
  old.time -= std::chrono::hours(48);
  add(old);
  add(result("/srv/new"));
  add(result("/srv/large", Kind::notScanned));
  open();
  shown.choose("kind", 1);
  search();
  EXPECT_EQ(files(), (Cells{"new", "old"}));
  shown.choose("period", 1);
  search();
  EXPECT_EQ(files(), Cells{"new"});
  shown.choose("kind", 2);
  search();
  EXPECT_EQ(files(), Cells{"large"});
  shown.write("search", "new");
  search();
  EXPECT_EQ(shown.text("summary"), "<RESULTS_NONE_MATCH>");
}

TEST_F(ResultsPageTest, FollowsTheHistoryWithItsFilter) {
  add(result("/srv/a"));
  open();
  shown.choose("kind", 1);
  search();
  add(result("/srv/b", Kind::notScanned));
  add(result("/srv/c"));
  open().historyChanged();
  search();
  EXPECT_EQ(files(), (Cells{"c", "a"}));
}

TEST_F(ResultsPageTest, ShowsWhereMuchWasScanned) {
  const CalendarDay today = calendarDayOf(clock.wallTime());
  const CalendarDay before = calendarDayOf(clock.wallTime() - std::chrono::hours(72));
  store.write({{},
               {{{today, home.at("src")}, {1200, 45'000}},
                {{before, home.at("src")}, {1, 1}},
                {{today, "/srv"}, {2, 900}}}});
  open();
  EXPECT_FALSE(shown.isVisible("busyBox"));
  shown.check("showBusy", true);
  EXPECT_FALSE(shown.isVisible("resultsBox"));
  EXPECT_EQ(shown.text("summary"), "2 folders");
  const Cells cells = shown.row("busy", 0).cells;
  EXPECT_EQ(cells, (Cells{"", "~/src", "1,201", "45 KB"}));
  shown.check("byDay", true);
  EXPECT_NE(shown.row("busy", 0).cells[0], "");
  EXPECT_EQ(shown.rowCount("busy"), 3U);
  shown.choose("period", 1);
  EXPECT_EQ(shown.rowCount("busy"), 2U);
}

TEST_F(ResultsPageTest, SaysWhenNothingWasCountedThere) {
  add(result("/srv/a"));
  open();
  shown.check("showBusy", true);
  EXPECT_EQ(shown.text("summary"), "<RESULTS_BUSY_NONE>");
}

TEST_F(ResultsPageTest, OffersOnlyWhatCanBeDoneWithTheSelection) {
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

TEST_F(ResultsPageTest, ShowsAFileWhereItLiesByNow) {
  const std::string quarantined = home.write("quarantine/virus.com");
  HistoryResult moved = result("/srv/virus.com", Kind::found, Outcome::quarantined);
  moved.detail = quarantined;
  add(moved);
  open();
  shown.select("results", {0});
  shown.press("openFolder");
  EXPECT_EQ(workspace.selected, std::vector<std::string>{quarantined});
}

TEST_F(ResultsPageTest, ShowsAFileInItsOldPlaceOnceItWasPutBack) {
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

TEST_F(ResultsPageTest, LeadsToTheQuarantineWhereTheFileLiesThere) {
  HistoryResult moved = result("/srv/virus.com", Kind::found, Outcome::quarantined);
  moved.detail = home.write("quarantine/virus.com");
  add(moved);
  open();
  EXPECT_FALSE(shown.isEnabled("showQuarantine"));
  shown.select("results", {0});
  shown.press("showQuarantine");
  EXPECT_EQ(window.shownPage(), "quarantine");
}

TEST_F(ResultsPageTest, OpensTheFolderOfAFileThatIsGoneAndSaysSo) {
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

TEST_F(ResultsPageTest, ScansEachSelectedFileOnceThatIsStillThere) {
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

TEST_F(ResultsPageTest, ExcludesAFileOnlyAfterItShowedThePattern) {
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

TEST_F(ResultsPageTest, ExcludesNoNameThatThePreferencesCannotHold) {
  add(result("/srv/\xFF"));
  open();
  shown.select("results", {0});
  shown.press("exclude");
  EXPECT_TRUE(window.questions.empty());
  EXPECT_EQ(shown.text("notice"), "<RESULTS_EXCLUDE_BYTES>");
}

TEST_F(ResultsPageTest, KeepsTheResultsSelectedAndNotTheRows) {
  add(result("/srv/a"));
  add(result("/srv/b"));
  open();
  shown.select("results", {1});
  add(result("/srv/c"));
  page->historyChanged();
  EXPECT_EQ(shown.selectedRows("results"), std::vector<std::size_t>{2});
  shown.write("search", "/a");
  search();
  EXPECT_EQ(shown.selectedRows("results"), std::vector<std::size_t>{0});
  shown.write("search", "/b");
  search();
  EXPECT_TRUE(shown.selectedRows("results").empty());
}

TEST_F(ResultsPageTest, ReadsATableFromItsMiddle) {
  HistoryBatch batch;
  for (int at = 0; at < 1000; ++at) {
    batch.changes.push_back(result("/srv/" + std::to_string(at)));
  }
  store.write(batch);
  open();
  ASSERT_EQ(shown.rowCount("results"), 1000U);
  EXPECT_EQ(shown.row("results", 999).cells[1], "0");
  EXPECT_EQ(shown.row("results", 255).cells[1], "744");
  EXPECT_EQ(shown.row("results", 256).cells[1], "743");
  EXPECT_EQ(shown.row("results", 0).cells[1], "999");
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

}  // namespace
}  // namespace quillo
