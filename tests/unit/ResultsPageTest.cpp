#include <gtest/gtest.h>

#include <filesystem>

#include "companion/Counting.h"
#include "tests/fakes/desktop/ResultsPageFixture.h"
#include "tests/support/DamagedDatabase.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

using ResultsPageTest = ResultsPageFixture;

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

// Else none would come to its end while news come faster than it takes.
TEST_F(ResultsPageTest, LetsASearchComeToItsEndBeforeItLooksForNews) {
  add(result("/srv/invoice"));
  open();
  shown.write("search", "invoice");
  add(result("/srv/invoice2"));
  add(result("/srv/other"));
  page->historyChanged();
  page->historyChanged();
  ASSERT_EQ(threads.bodies.size(), 1U);
  search();
  EXPECT_EQ(threads.bodies.size(), 1U);
  add(result("/srv/invoice3"));
  search();
  EXPECT_EQ(files(), (Cells{"invoice3", "invoice2", "invoice"}));
  EXPECT_TRUE(threads.bodies.empty());
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
  EXPECT_EQ(shown.text("summary"), "<RESULTS_SEARCHING>") << "the window waits for it";
  search();
  EXPECT_EQ(shown.text("summary"), "2 folders");
  const Cells cells = shown.row("busy", 0).cells;
  EXPECT_EQ(cells, (Cells{"", "~/src", "1,201", "45 KB"}));
  shown.check("byDay", true);
  search();
  EXPECT_NE(shown.row("busy", 0).cells[0], "");
  EXPECT_EQ(shown.rowCount("busy"), 3U);
  shown.choose("period", 1);
  search();
  EXPECT_EQ(shown.rowCount("busy"), 2U);
}

TEST_F(ResultsPageTest, SaysWhenNothingWasCountedThere) {
  add(result("/srv/a"));
  open();
  shown.check("showBusy", true);
  search();
  EXPECT_EQ(shown.text("summary"), "<RESULTS_BUSY_NONE>");
}

TEST_F(ResultsPageTest, ReadsATableFromItsMiddle) {
  HistoryBatch batch;
  for (int at = 0; at < 1000; ++at) {
    batch.changes.emplace_back(result("/srv/" + std::to_string(at)));
  }
  store.write(batch);
  open();
  ASSERT_EQ(shown.rowCount("results"), 1000U);
  EXPECT_EQ(shown.row("results", 999).cells[1], "0");
  EXPECT_EQ(shown.row("results", 255).cells[1], "744");
  EXPECT_EQ(shown.row("results", 256).cells[1], "743");
  EXPECT_EQ(shown.row("results", 0).cells[1], "999");
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

class DamagedResultsPageTest : public ResultsPageFixture {
 protected:
  void damage(const std::string& name) {
    for (int at = 0; at < 500; ++at) {
      add(result("/srv/" + std::to_string(at)));
    }
    store.write({{}, {{{calendarDayOf(clock.wallTime()), "/srv"}, {1, 1}}}});
    store.close();
    damageFirstEntriesOf(folder + "/history.sqlite", name);
  }
  bool saysBroken() { return shown.text("summary").starts_with("broken: " + folder); }
};

TEST_F(DamagedResultsPageTest, SaysSoInsteadOfThatThereIsNothing) {
  damage("results");
  open();
  EXPECT_TRUE(saysBroken()) << shown.text("summary");
}

TEST_F(DamagedResultsPageTest, SaysSoAfterASearch) {
  damage("resultsByKind");
  open();
  EXPECT_FALSE(saysBroken());
  shown.choose("kind", 1);
  search();
  EXPECT_TRUE(saysBroken()) << shown.text("summary");
}

TEST_F(DamagedResultsPageTest, SaysSoOfBusyFolders) {
  damage("scanned");
  open();
  shown.check("showBusy", true);
  search();
  EXPECT_TRUE(saysBroken()) << shown.text("summary");
  shown.check("byDay", true);
  search();
  EXPECT_TRUE(saysBroken()) << shown.text("summary");
}

TEST_F(ResultsPageTest, SaysSinceWhenNothingWasFound) {
  strings.texts["RESULTS_NONE_SINCE"] = "nothing since %@";
  store.write({{}, {{{calendarDayOf(clock.wallTime()), "/srv"}, {1, 1}}}});
  open();
  EXPECT_EQ(shown.text("summary"), "nothing since " + dayText(clock.wallTime()));
}

TEST_F(ResultsPageTest, ShowsFilesWithoutNamesAsTheirNumber) {
  strings.texts["RESULTS_UNNAMED_MANY"] = "%@ more";
  store.write({{UnnamedFiles{clock.wallTime(), 1200}}, {}});
  open();
  EXPECT_EQ(files(), Cells{"1,200 more"});
  EXPECT_EQ(shown.row("results", 0).sign, TableRows::Sign::warning);
  shown.select("results", {0});
  shown.press("openFolder");
  EXPECT_TRUE(workspace.opened.empty());
}

TEST_F(ResultsPageTest, CallsTheFileOfASelfTestBySuchAName) {
  add(result("/srv/test.com", Kind::found, Outcome::selfTest));
  open();
  EXPECT_EQ(shown.row("results", 0).cells.at(4), "<RESULTS_DONE_SELF_TEST>");
  EXPECT_EQ(shown.row("results", 0).sign, TableRows::Sign::good);
}

}  // namespace
}  // namespace quillo
