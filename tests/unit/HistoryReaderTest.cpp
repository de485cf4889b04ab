#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "history/HistoryReader.h"
#include "history/HistoryStore.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Kind = HistoryResult::Kind;
using Paths = std::vector<std::string>;

class HistoryReaderTest : public testing::Test {
 protected:
  void add(const std::string& path, Kind kind = Kind::found, const std::string& says = "Eicar",
           std::chrono::hours ago = {}) {
    HistoryResult result;
    result.time = now - ago;
    result.kind = kind;
    result.path = path;
    result.says = says;
    store.write({{result}, {}});
  }
  Paths chosen(const HistoryFilter& filter) {
    const HistorySelection selection = reader.select(filter);
    Paths paths;
    for (const HistoryResult& result : reader.rows(selection, 0, selection.count())) {
      paths.push_back(result.path);
    }
    return paths;
  }

  const TemporaryFolder home;
  const std::string folder = home.at("state");
  PassingClock clock;
  const WallTime now = clock.wallTime();
  FakeSystemLog log;
  HistoryStore store{folder, clock, log, {}};
  HistoryReader reader{folder};
};

TEST_F(HistoryReaderTest, MakesNothingWhereThereIsNoHistory) {
  EXPECT_EQ(reader.open(), HistoryReader::State::missing);
  EXPECT_EQ(reader.select({}).count(), 0U);
  EXPECT_EQ(reader.totalsSince(now), HistoryTotals());
  EXPECT_FALSE(TemporaryFolder::exists(folder));
}

TEST_F(HistoryReaderTest, SeesAHistoryThatIsMadeLater) {
  EXPECT_EQ(reader.open(), HistoryReader::State::missing);
  add("/srv/a");
  EXPECT_EQ(reader.open(), HistoryReader::State::good);
  EXPECT_EQ(chosen({}), Paths{"/srv/a"});
}

TEST_F(HistoryReaderTest, FindsTextInNameThreatAndReasonWhateverItsCase) {
  add("/srv/Invoice.pdf");
  add("/srv/b", Kind::found, "Win.Invoice-1");
  add("/srv/c", Kind::notScanned, "too large");
  EXPECT_EQ(chosen({.text = "inVOICE"}), (Paths{"/srv/b", "/srv/Invoice.pdf"}));
  EXPECT_EQ(chosen({.text = "LARGE"}), Paths{"/srv/c"});
  EXPECT_EQ(chosen({.text = "%"}), Paths());
}

TEST_F(HistoryReaderTest, FindsAnyBytes) {
  add("/srv/\xFF\xFE");
  add("/srv/ü");
  EXPECT_EQ(chosen({.text = "\xFE"}), Paths{"/srv/\xFF\xFE"});
  EXPECT_EQ(chosen({.text = "ü"}), Paths{"/srv/ü"});
}

TEST_F(HistoryReaderTest, ChoosesByKindFolderAndTime) {
  add("/srv/old", Kind::found, "Eicar", std::chrono::hours(48));
  add("/srv/folder/new");
  add("/srv/folder2/new", Kind::notScanned, "no");
  EXPECT_EQ(chosen({.kind = Kind::found}), (Paths{"/srv/folder/new", "/srv/old"}));
  EXPECT_EQ(chosen({.kind = Kind::notScanned}), Paths{"/srv/folder2/new"});
  EXPECT_EQ(chosen({.folder = "/srv/folder"}), Paths{"/srv/folder/new"});
  EXPECT_EQ(chosen({.since = now - std::chrono::hours(24)}),
            (Paths{"/srv/folder2/new", "/srv/folder/new"}));
  EXPECT_EQ(chosen({.text = "new", .kind = Kind::found, .folder = "/srv"}),
            Paths{"/srv/folder/new"});
}

TEST_F(HistoryReaderTest, ChoosesTheResultsOfOneScan) {
  for (const std::int64_t run : {7, 8, 7}) {
    HistoryResult result;
    result.time = now;
    result.run = run;
    result.path = "/srv/" + std::to_string(run);
    result.says = "Eicar";
    store.write({{result}, {}});
  }
  add("/srv/without");
  EXPECT_EQ(chosen({.run = 7}), (Paths{"/srv/7", "/srv/7"}));
  EXPECT_EQ(chosen({.text = "8", .run = 8}), Paths{"/srv/8"});
  EXPECT_EQ(chosen({.text = "8", .run = 7}), Paths());
  EXPECT_EQ(chosen({.run = 9}), Paths());
}

TEST_F(HistoryReaderTest, ChoosesScansByTimeAndGivesAPageFromTheirMiddle) {
  EXPECT_EQ(reader.selectRuns().count(), 0U);
  for (std::int64_t at = 1; at <= 10; ++at) {
    ScanRun run;
    run.id = 100 + at;
    run.started = now - std::chrono::hours(10 - at);
    store.write({{run}, {}});
  }
  const HistorySelection all = reader.selectRuns();
  ASSERT_EQ(all.count(), 10U);
  const std::vector<ScanRun> page = reader.runs(all, 3, 2);
  ASSERT_EQ(page.size(), 2U);
  EXPECT_EQ(page[0].id, 107);
  EXPECT_EQ(page[1].id, 106);
  EXPECT_EQ(reader.runs(all, 9, 5).size(), 1U);
  EXPECT_EQ(reader.runs(all, 20, 5).size(), 0U);
  EXPECT_EQ(reader.selectRuns(now - std::chrono::minutes(90)).count(), 2U);
  EXPECT_EQ(reader.selectRuns(now - std::chrono::hours(50)).count(), 10U);
  EXPECT_EQ(reader.selectRuns(now + std::chrono::hours(1)).count(), 0U);
}

TEST_F(HistoryReaderTest, GivesAPageFromItsMiddle) {
  for (int at = 0; at < 10; ++at) {
    add("/srv/" + std::to_string(at));
  }
  const HistorySelection selection = reader.select({});
  ASSERT_EQ(selection.count(), 10U);
  const auto page = reader.rows(selection, 3, 2);
  ASSERT_EQ(page.size(), 2U);
  EXPECT_EQ(page[0].path, "/srv/6");
  EXPECT_EQ(page[1].path, "/srv/5");
  EXPECT_EQ(reader.rows(selection, 9, 5).size(), 1U);
  EXPECT_EQ(reader.rows(selection, 20, 5).size(), 0U);
}

TEST_F(HistoryReaderTest, CountsWhatWasFoundAndWhatCouldNotBeScannedSinceATime) {
  add("/srv/a", Kind::found, "x", std::chrono::hours(48));
  add("/srv/b");
  add("/srv/c", Kind::notScanned);
  add("/srv/d", Kind::notScanned);
  EXPECT_EQ(reader.totalsSince(now - std::chrono::hours(1)), (HistoryTotals{1, 2}));
  EXPECT_EQ(reader.totalsSince(now - std::chrono::hours(72)), (HistoryTotals{2, 2}));
}

TEST_F(HistoryReaderTest, CountsAFileOnceHoweverOftenItWasFound) {
  add("/srv/a");
  add("/srv/a");
  add("/srv/b", Kind::notScanned);
  add("/srv/b", Kind::notScanned);
  EXPECT_EQ(reader.totalsSince(now - std::chrono::hours(1)), (HistoryTotals{1, 1}));
}

TEST_F(HistoryReaderTest, StopsASearchThatNobodyWantsAnyMore) {
  HistoryBatch batch;
  for (int at = 0; at < 10'000; ++at) {
    HistoryResult result;
    result.time = now;
    result.path = "/srv/a";
    batch.changes.emplace_back(result);
  }
  store.write(batch);
  int questions = 0;
  EXPECT_EQ(reader.select({.text = "a"}, [&] { return ++questions < 2; }).count(), 0U);
  EXPECT_EQ(questions, 2);
  EXPECT_EQ(reader.select({.text = "a"}, [] { return true; }).count(), 10'000U);
}

TEST_F(HistoryReaderTest, ReadsTheNewOneWhenTheOldWasSetAside) {
  add("/srv/a");
  EXPECT_EQ(chosen({}), Paths{"/srv/a"});
  HistoryFile(folder).setAside(20260102);
  add("/srv/b");
  EXPECT_EQ(chosen({}), Paths{"/srv/b"});
}

TEST_F(HistoryReaderTest, SaysThatADamagedOneIsBrokenAndLeavesItAlone) {
  std::filesystem::create_directory(folder);
  const std::string file = home.write("state/history.sqlite", "no database at all, or so", 0600);
  EXPECT_EQ(reader.open(), HistoryReader::State::broken);
  EXPECT_NE(reader.reason(), "");
  EXPECT_EQ(TemporaryFolder::read(file), "no database at all, or so");
}

TEST_F(HistoryReaderTest, ReadsNothingThatOthersCouldHaveWritten) {
  add("/srv/a");
  chmod((folder + "/history.sqlite").c_str(), 0622);
  EXPECT_EQ(reader.open(), HistoryReader::State::unreadable);
  EXPECT_EQ(reader.select({}).count(), 0U);
}

TEST_F(HistoryReaderTest, ReadsNothingInAFolderThatOthersCanWrite) {
  add("/srv/a");
  chmod(folder.c_str(), 0777);
  EXPECT_EQ(reader.open(), HistoryReader::State::unreadable);
}

TEST_F(HistoryReaderTest, FollowsNoLink) {
  add("/srv/a");
  store.close();
  const std::string elsewhere = home.at("elsewhere.sqlite");
  std::filesystem::rename(folder + "/history.sqlite", elsewhere);
  std::filesystem::create_symlink(elsewhere, folder + "/history.sqlite");
  EXPECT_EQ(reader.open(), HistoryReader::State::unreadable);
}

TEST(CountedFolder, IsThreeLevelsBelowHomeOrTheRootAtMost) {
  const auto counted = [](const char* path) { return countedFolderOf(path, "/home/anna"); };
  EXPECT_EQ(counted("/home/anna/a/b/c/d/e.txt"), "/home/anna/a/b/c");
  EXPECT_EQ(counted("/home/anna/a/b/c.txt"), "/home/anna/a/b");
  EXPECT_EQ(counted("/home/anna/c.txt"), "/home/anna");
  EXPECT_EQ(counted("/home/annabel/a/b/c.txt"), "/home/annabel/a");
  EXPECT_EQ(counted("/srv/a/b/c/d.txt"), "/srv/a/b");
  EXPECT_EQ(counted("/d.txt"), "/");
}

TEST_F(HistoryReaderTest, CountsWhatHasNoNamesAndNothingOfSelfTests) {
  add("/srv/a");
  add("/srv/test.com");
  store.write(
      {{LaterOutcome{"/srv/test.com", HistoryResult::Outcome::selfTest, ""}, UnnamedFiles{now, 7}},
       {}});
  add("/srv/c", Kind::notScanned);
  EXPECT_EQ(reader.totalsSince(now - std::chrono::hours(1)), (HistoryTotals{1, 8}));
}

TEST_F(HistoryReaderTest, KnowsWhenItBegins) {
  EXPECT_FALSE(reader.beginning());
  add("/srv/a");
  EXPECT_EQ(reader.beginning(), std::chrono::floor<std::chrono::seconds>(now));
  store.write({{}, {{{calendarDayOf(now - std::chrono::hours(72)), "/srv"}, {1, 1}}}});
  const auto first = reader.beginning();
  ASSERT_TRUE(first);
  EXPECT_EQ(calendarDayOf(*first), calendarDayOf(now - std::chrono::hours(72)));
}

TEST_F(HistoryReaderTest, SaysThatItIsDamagedWhereOnlySomeOfItIs) {
  for (int at = 0; at < 500; ++at) {
    add("/srv/" + std::to_string(at));
  }
  store.close();
  damageFirstEntriesOf(folder + "/history.sqlite", "results");
  EXPECT_EQ(reader.open(), HistoryReader::State::good);
  EXPECT_EQ(reader.select({}).count(), 0U);
  EXPECT_EQ(reader.state(), HistoryReader::State::broken);
  EXPECT_NE(reader.reason(), "");
  EXPECT_EQ(reader.open(), HistoryReader::State::good);
  EXPECT_EQ(reader.totalsSince(now - std::chrono::hours(1)).found, 0U);
  EXPECT_EQ(reader.state(), HistoryReader::State::broken);
}

}  // namespace
}  // namespace quillo
