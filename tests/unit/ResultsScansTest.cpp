#include <gtest/gtest.h>

#include "tests/fakes/desktop/ResultsPageFixture.h"

namespace quillo {
namespace {

using End = ScanRun::End;
using Sign = TableRows::Sign;

class ResultsScansTest : public ResultsPageFixture {
 protected:
  ResultsScansTest() {
    strings.texts["RESULTS_SCANS_COUNT_MANY"] = "%@ scans";
    strings.texts["RESULTS_OF_SCAN"] = "scan of %@: %@";
    strings.texts["RESULTS_SECONDS"] = "%@ s";
    strings.texts["RESULTS_MINUTES"] = "%@ min %@ s";
    strings.texts["RESULTS_HOURS"] = "%@ h %@ min";
  }
  ScanRun scan(const std::string& path, std::chrono::seconds length = std::chrono::seconds(5)) {
    ScanRun run;
    run.id = ++last;
    run.started = std::chrono::time_point_cast<std::chrono::seconds>(clock.wallTime());
    run.ended = run.started + length;
    run.paths = {path};
    return run;
  }
  void keep(const ScanRun& run) { store.write({{run}, {}}); }
  void add(std::int64_t run, const std::string& path, Kind kind = Kind::found) {
    HistoryResult made = result(path, kind);
    made.run = run;
    store.write({{made}, {}});
  }
  void openScans() {
    open();
    shown.check("showScans", true);
  }
  std::string cell(std::size_t row, std::size_t column) {
    return shown.row("scans", row).cells.at(column);
  }

  std::int64_t last = 0;
};

TEST_F(ResultsScansTest, AreRowsThatSayWhatCameOfThem) {
  ScanRun run = scan(home.at("stick"), std::chrono::seconds(83));
  run.paths.emplace_back("/srv/\xFF");
  run.clean = 1200;
  run.found = 1;
  run.notScanned = 2;
  keep(run);
  ScanRun planned = scan("/srv");
  planned.source = ScanSource::planned;
  planned.clean = 3;
  keep(planned);
  openScans();
  EXPECT_TRUE(shown.isVisible("scansBox"));
  EXPECT_FALSE(shown.isVisible("resultsBox"));
  EXPECT_EQ(shown.text("summary"), "2 scans");
  ASSERT_EQ(shown.rowCount("scans"), 2U);
  const TableRows::Row clean = shown.row("scans", 0);
  EXPECT_EQ(
      Cells(clean.cells.begin() + 1, clean.cells.end()),
      (Cells{"/srv", "<RESULTS_SCAN_WHOLE>", "3", "0", "0", "5 s", "<RESULTS_SOURCE_PLANNED>"}));
  EXPECT_EQ(clean.sign, Sign::good);
  const TableRows::Row found = shown.row("scans", 1);
  EXPECT_EQ(Cells(found.cells.begin() + 1, found.cells.end()),
            (Cells{"~/stick, /srv/\xFF", "<RESULTS_SCAN_WHOLE>", "1,200", "1", "2", "1 min 23 s",
                   "<RESULTS_SOURCE_BY_HAND>"}));
  EXPECT_EQ(found.sign, Sign::threat);
  EXPECT_EQ(shown.titles("scans").size(), found.cells.size());
}

TEST_F(ResultsScansTest, SayHowTheyEnded) {
  const std::vector<std::pair<End, std::string>> cases = {
      {End::stopped, "<RESULTS_SCAN_STOPPED>"},
      {End::noEngine, "<RESULTS_SCAN_NO_ENGINE>"},
      {End::noDaemon, "<RESULTS_SCAN_NO_DAEMON>"},
      {End::noQuarantine, "<RESULTS_SCAN_NO_QUARANTINE>"},
      {End::tooMany, "<RESULTS_SCAN_TOO_MANY>"},
      {End::failed, "<RESULTS_SCAN_FAILED>"},
      {End::noDefinitions, "<RESULTS_SCAN_NO_DEFINITIONS>"}};
  for (const auto& [end, words] : cases) {
    ScanRun run = scan("/srv");
    run.end = end;
    keep(run);
  }
  openScans();
  for (std::size_t at = 0; at < cases.size(); ++at) {
    const std::size_t row = cases.size() - 1 - at;
    EXPECT_EQ(cell(row, 2), cases[at].second);
    EXPECT_EQ(shown.row("scans", row).sign, Sign::warning);
  }
}

TEST_F(ResultsScansTest, WithoutAnEndHaveNoCountsAndNoDuration) {
  ScanRun run = scan("/srv");
  run.ended.reset();
  keep(run);
  openScans();
  const Cells cells = shown.row("scans", 0).cells;
  EXPECT_EQ(Cells(cells.begin() + 2, cells.end()),
            (Cells{"<RESULTS_SCAN_NO_END>", "", "", "", "", "<RESULTS_SOURCE_BY_HAND>"}));
  EXPECT_EQ(shown.row("scans", 0).sign, Sign::none);
}

TEST_F(ResultsScansTest, DoNotSayThatNothingWasCleanWhereNobodyCounted) {
  ScanRun run = scan("/srv");
  run.clean.reset();
  keep(run);
  openScans();
  EXPECT_EQ(cell(0, 3), "<RESULTS_SCAN_NOT_COUNTED>");
}

TEST_F(ResultsScansTest, TakeAsLongAsTheyTake) {
  for (const int seconds : {-90, 0, 59, 60, 3599, 3600, 90'061}) {
    keep(scan("/srv", std::chrono::seconds(seconds)));
  }
  openScans();
  Cells lengths;
  for (std::size_t row = shown.rowCount("scans"); row-- > 0;) {
    lengths.push_back(cell(row, 6));
  }
  EXPECT_EQ(lengths,
            (Cells{"0 s", "0 s", "59 s", "1 min 0 s", "59 min 59 s", "1 h 0 min", "25 h 1 min"}));
}

TEST_F(ResultsScansTest, OfMuchAtOnceNameTheFirst) {
  ScanRun run = scan("/a");
  run.paths = {"/a", "/b", "/c", "/d"};
  keep(run);
  openScans();
  EXPECT_EQ(cell(0, 1), "/a, /b, /c, …");
}

TEST_F(ResultsScansTest, AreNarrowedDownByTimeAlone) {
  ScanRun old = scan("/old");
  old.started -= std::chrono::hours(48);
  keep(old);
  keep(scan("/new"));
  openScans();
  EXPECT_FALSE(shown.isEnabled("search"));
  EXPECT_FALSE(shown.isEnabled("kind"));
  shown.choose("period", 1);
  ASSERT_EQ(shown.rowCount("scans"), 1U);
  EXPECT_EQ(cell(0, 1), "/new");
  EXPECT_EQ(shown.text("summary"), "<RESULTS_SCANS_COUNT_ONE>");
  shown.check("showScans", false);
  EXPECT_TRUE(shown.isEnabled("search"));
  EXPECT_TRUE(shown.isVisible("resultsBox"));
}

TEST_F(ResultsScansTest, ThatThereAreNotHaveASentence) {
  add(0, "/srv/a");
  openScans();
  EXPECT_EQ(shown.text("summary"), "<RESULTS_SCANS_NONE_YET>");
  shown.choose("period", 1);
  EXPECT_EQ(shown.text("summary"), "<RESULTS_SCANS_NONE_THEN>");
}

TEST_F(ResultsScansTest, FollowTheHistoryAndKeepTheSelectedOne) {
  keep(scan("/a"));
  ScanRun second = scan("/b");
  second.ended.reset();
  keep(second);
  openScans();
  shown.select("scans", {0});
  second.ended = second.started + std::chrono::seconds(1);
  second.found = 4;
  keep(second);
  page->historyChanged();
  EXPECT_EQ(cell(0, 4), "4");
  keep(scan("/c"));
  page->historyChanged();
  EXPECT_EQ(shown.rowCount("scans"), 3U);
  EXPECT_EQ(shown.selectedRows("scans"), std::vector<std::size_t>{1});
}

TEST_F(ResultsScansTest, GoAwayWithADamagedHistory) {
  ScanRun run = scan("/srv");
  run.found = 1;
  keep(run);
  openScans();
  shown.select("scans", {0});
  ASSERT_TRUE(shown.isEnabled("showFiles"));
  store.close();
  for (const char* const name : {"", "-wal", "-shm"}) {
    home.write("state/history.sqlite" + std::string(name), "no database", 0600);
  }
  page->historyChanged();
  EXPECT_TRUE(shown.text("summary").starts_with("broken: ")) << shown.text("summary");
  EXPECT_EQ(shown.rowCount("scans"), 0U);
  EXPECT_FALSE(shown.isEnabled("showFiles"));
}

TEST_F(ResultsScansTest, ShowTheirFilesAndAllOthersAgain) {
  ScanRun first = scan("/one");
  first.found = 1;
  first.notScanned = 1;
  keep(first);
  keep(scan("/two"));
  add(first.id, "/one/a");
  add(first.id, "/one/b", Kind::notScanned);
  add(2, "/two/c");
  open();
  EXPECT_FALSE(shown.isVisible("allResults"));
  // What was asked for before would hide some of them.
  shown.write("search", "no such file");
  shown.choose("kind", 1);
  shown.check("showScans", true);
  EXPECT_FALSE(shown.isEnabled("showFiles"));
  shown.select("scans", {1});
  shown.press("showFiles");
  search();
  EXPECT_EQ(files(), (Cells{"b", "a"}));
  EXPECT_FALSE(shown.isChecked("showScans"));
  EXPECT_TRUE(shown.isVisible("resultsBox"));
  EXPECT_TRUE(shown.text("ofScan").ends_with(": /one")) << shown.text("ofScan");
  EXPECT_EQ(shown.focused, "results");
  shown.press("allResults");
  EXPECT_EQ(files(), (Cells{"c", "b", "a"}));
  EXPECT_FALSE(shown.isVisible("allResults"));
  EXPECT_FALSE(shown.isVisible("ofScan"));
}

TEST_F(ResultsScansTest, HaveTheirFilesShownWhenTheyAreOpened) {
  ScanRun run = scan("/one");
  run.ended.reset();
  keep(run);
  openScans();
  shown.select("scans", {0});
  shown.press("scans");
  search();
  EXPECT_EQ(shown.text("summary"), "<RESULTS_NONE_OF_SCAN>");
  shown.write("search", "x");
  search();
  EXPECT_EQ(shown.text("summary"), "<RESULTS_NONE_MATCH>");
}

TEST_F(ResultsScansTest, ThatCameUponNothingHaveNoFilesToShow) {
  keep(scan("/one"));
  openScans();
  shown.select("scans", {0});
  EXPECT_FALSE(shown.isEnabled("showFiles"));
  shown.press("scans");
  EXPECT_TRUE(shown.isVisible("scansBox"));
}

TEST_F(ResultsScansTest, AreShownInPlaceOfWhatIsBusyAndTheOtherWayRound) {
  keep(scan("/one"));
  openScans();
  shown.check("showBusy", true);
  EXPECT_FALSE(shown.isChecked("showScans"));
  EXPECT_FALSE(shown.isVisible("scansBox"));
  search();
  EXPECT_EQ(shown.text("summary"), "<RESULTS_BUSY_NONE>");
  shown.check("showScans", true);
  EXPECT_FALSE(shown.isChecked("showBusy"));
  EXPECT_FALSE(shown.isVisible("busyBox"));
}

TEST_F(ResultsScansTest, AreNotReplacedByASearchThatWasBegunBefore) {
  keep(scan("/one"));
  open();
  shown.write("search", "x");
  shown.check("showScans", true);
  search();
  EXPECT_EQ(shown.text("summary"), "<RESULTS_SCANS_COUNT_ONE>");
}

TEST_F(ResultsScansTest, AreReadFromTheirMiddle) {
  HistoryBatch batch;
  for (int at = 0; at < 1000; ++at) {
    batch.changes.emplace_back(scan("/srv/" + std::to_string(at)));
  }
  store.write(batch);
  openScans();
  ASSERT_EQ(shown.rowCount("scans"), 1000U);
  EXPECT_EQ(cell(999, 1), "/srv/0");
  EXPECT_EQ(cell(255, 1), "/srv/744");
  EXPECT_EQ(cell(256, 1), "/srv/743");
}

}  // namespace
}  // namespace quillo
