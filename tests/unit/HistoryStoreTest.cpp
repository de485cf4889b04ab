#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "history/HistoryReader.h"
#include "history/HistoryStore.h"
#include "history/Sql.h"
#include "posix/PlatformException.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Kind = HistoryResult::Kind;
using Outcome = HistoryResult::Outcome;

class HistoryStoreTest : public testing::Test {
 protected:
  HistoryResult find(const std::string& path) {
    return {std::chrono::time_point_cast<std::chrono::seconds>(clock.wallTime()),
            Kind::found,
            Outcome::leftInPlace,
            ScanSource::agent,
            0,
            path,
            "Eicar",
            ""};
  }
  static HistoryBatch batchOf(std::deque<HistoryChange> changes) {
    return {std::move(changes), {}};
  }
  void write(const std::string& path) { store.write(batchOf({find(path)})); }
  std::vector<std::string> paths() {
    HistoryReader reader(folder);
    EXPECT_EQ(reader.open(), HistoryReader::State::good) << reader.reason();
    std::vector<std::string> all;
    const HistorySelection selection = reader.select({});
    for (const HistoryResult& result : reader.rows(selection, 0, selection.count())) {
      all.push_back(result.path);
    }
    return all;
  }
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(folder)) {
      all.push_back(entry.path().filename());
    }
    std::sort(all.begin(), all.end());
    return all;
  }
  bool isSetAside() const {
    const auto all = names();
    return std::any_of(all.begin(), all.end(), [](const std::string& name) {
      return name.starts_with("history.broken-") && name.ends_with(".sqlite");
    });
  }
  mode_t modeOf(const std::string& path) const {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
  }
  std::int64_t bytesOnDisk() const {
    std::int64_t bytes = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
      bytes += static_cast<std::int64_t>(entry.file_size());
    }
    return bytes;
  }

  const TemporaryFolder home;
  const std::string folder = home.at("state/vantrel");
  const std::string database = folder + "/history.sqlite";
  PassingClock clock;
  FakeSystemLog log;
  HistoryStore store{folder, clock, log, {}};
};

TEST_F(HistoryStoreTest, MakesAHistoryThatOnlyItsUserCanRead) {
  write("/srv/a");
  EXPECT_EQ(modeOf(folder), 0700);
  EXPECT_EQ(modeOf(database), 0600);
  EXPECT_EQ(modeOf(database + "-wal"), 0600);
}

TEST_F(HistoryStoreTest, KeepsEveryByteOfANameAndEveryField) {
  HistoryResult result = find("/srv/\xFF\n'\";--\x01 Ü");
  result.kind = Kind::notScanned;
  result.outcome = Outcome::notMoved;
  result.source = ScanSource::planned;
  result.run = 4711;
  result.says = "no \xFE reason";
  result.detail = "/else/where\t";
  store.write(batchOf({result}));
  HistoryReader reader(folder);
  EXPECT_EQ(reader.rows(reader.select({}), 0, 9), std::vector<HistoryResult>{result});
}

TEST_F(HistoryStoreTest, IsOneFileWhenItIsClosed) {
  write("/srv/a");
  store.close();
  EXPECT_EQ(names(), std::vector<std::string>{"history.sqlite"});
}

TEST_F(HistoryStoreTest, GivesTheLatestFirst) {
  write("/srv/1");
  store.write(batchOf({find("/srv/2"), find("/srv/3")}));
  EXPECT_EQ(paths(), (std::vector<std::string>{"/srv/3", "/srv/2", "/srv/1"}));
}

TEST_F(HistoryStoreTest, EntersInARowWhatBecameOfAFindLater) {
  HistoryResult unsaid = find("/srv/a");
  unsaid.outcome = Outcome::unsaid;
  HistoryResult known = find("/srv/b");
  known.outcome = Outcome::trashed;
  store.write(batchOf({unsaid, known}));
  store.write(batchOf({LaterOutcome{"/srv/a", Outcome::quarantined, "/q/a"},
                       LaterOutcome{"/srv/b", Outcome::quarantined, "/q/b"},
                       LaterOutcome{"/srv/c", Outcome::quarantined, "/q/c"}}));
  HistoryReader reader(folder);
  const auto rows = reader.rows(reader.select({}), 0, 9);
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[1].outcome, Outcome::quarantined);
  EXPECT_EQ(rows[1].detail, "/q/a");
  EXPECT_EQ(rows[0].outcome, Outcome::trashed);
}

TEST_F(HistoryStoreTest, KeepsARunOnceThatBeganAndEnded) {
  ScanRun run;
  run.id = makeRunId();
  run.started = find("").time;
  run.paths = {"/srv/a\nb", "/home/\xFF"};
  store.write(batchOf({run}));
  HistoryReader reader(folder);
  EXPECT_EQ(reader.runs(reader.selectRuns(), 0, 5), std::vector<ScanRun>{run});
  run.ended = run.started + std::chrono::minutes(3);
  run.clean.reset();
  run.found = 2;
  run.notScanned = 1;
  run.end = ScanRun::End::noDaemon;
  store.write(batchOf({run}));
  EXPECT_EQ(reader.runs(reader.selectRuns(), 0, 5), std::vector<ScanRun>{run});
}

TEST_F(HistoryStoreTest, SumsUpWhatWasScannedByFolderAndDay) {
  store.write({{}, {{{20260101, "/srv"}, {2, 100}}, {{20260101, "/home"}, {1, 500}}}});
  store.write({{}, {{{20260101, "/srv"}, {3, 50}}, {{20260102, "/srv"}, {1, 400}}}});
  HistoryReader reader(folder);
  EXPECT_EQ(reader.busyFolders(20260101, 9),
            (std::vector<BusyFolder>{{20260102, "/srv", {1, 400}},
                                     {20260101, "/home", {1, 500}},
                                     {20260101, "/srv", {5, 150}}}));
  EXPECT_EQ(reader.busyFolders(20260102, 9).size(), 1U);
  EXPECT_EQ(reader.busiestFolders(20260101, 9),
            (std::vector<BusyFolder>{{0, "/srv", {6, 550}}, {0, "/home", {1, 500}}}));
  EXPECT_EQ(reader.busiestFolders(20260101, 1).size(), 1U);
}

TEST_F(HistoryStoreTest, GoesOnWithTheHistoryOfTheLastTime) {
  write("/srv/1");
  HistoryStore(folder, clock, log, {}).write(batchOf({find("/srv/2")}));
  EXPECT_EQ(paths(), (std::vector<std::string>{"/srv/2", "/srv/1"}));
  EXPECT_EQ(log.lines(), std::vector<std::string>());
}

TEST_F(HistoryStoreTest, StaysBelowItsBoundAndDropsTheOldest) {
  const HistoryLimits limits{6'000'000, std::chrono::hours(24 * 365)};
  HistoryStore small(folder, clock, log, limits);
  HistoryBatch batch;
  for (int at = 0; at < 40'000; ++at) {
    batch.changes.emplace_back(find("/srv/" + std::string(200, 'x') + std::to_string(at)));
    if (batch.changes.size() == 2'000) {
      small.write(batch);
      batch.changes.clear();
      ASSERT_LE(bytesOnDisk(), limits.bytes);
    }
  }
  const auto left = paths();
  EXPECT_GT(left.size(), 3'000U);
  EXPECT_LT(left.size(), 20'000U);
  EXPECT_TRUE(left.front().ends_with("x39999"));
}

TEST_F(HistoryStoreTest, DropsWhatIsOlderThanItsAge) {
  write("/srv/old");
  ScanRun run;
  run.id = 5;
  run.started = clock.wallTime();
  const CalendarDay day = calendarDayOf(clock.wallTime());
  store.write({{run}, {{{day, "/srv"}, {1, 1}}}});
  clock.advance(std::chrono::hours(24 * 370));
  write("/srv/new");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/new"});
  HistoryReader reader(folder);
  EXPECT_EQ(reader.runs(reader.selectRuns(), 0, 5).size(), 0U);
  EXPECT_EQ(reader.busyFolders(0, 5).size(), 0U);
}

TEST_F(HistoryStoreTest, LeavesNoGapWhereTheClockWasAheadForAWhile) {
  for (const int days : {0, 400, 1, 2}) {
    HistoryResult result = find("/srv/" + std::to_string(days));
    result.time += std::chrono::hours(24 * days);
    store.write(batchOf({result}));
  }
  clock.advance(std::chrono::hours(24 * 380));
  write("/srv/new");
  EXPECT_EQ(paths(), (std::vector<std::string>{"/srv/new", "/srv/2", "/srv/1", "/srv/400"}));
}

TEST_F(HistoryStoreTest, LeavesNoGapBetweenScansWhereTheClockWasAhead) {
  for (const int days : {0, 400, 1, 2}) {
    ScanRun run;
    run.id = days + 1;
    run.started = clock.wallTime() + std::chrono::hours(24 * days);
    store.write(batchOf({run}));
  }
  clock.advance(std::chrono::hours(24 * 380));
  write("/srv/new");
  HistoryReader reader(folder);
  std::vector<std::int64_t> ids;
  for (const ScanRun& run : reader.runs(reader.selectRuns(), 0, 9)) {
    ids.push_back(run.id);
  }
  EXPECT_EQ(ids, (std::vector<std::int64_t>{3, 2, 401}));
}

TEST_F(HistoryStoreTest, SetsAsideWhatIsNoDatabaseAndLosesNothingNew) {
  home.write("state/vantrel/history.sqlite", "this is no database, whatever its name says", 0600);
  chmod(folder.c_str(), 0700);
  write("/srv/a");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/a"});
  EXPECT_TRUE(isSetAside());
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_TRUE(log.lines()[0].starts_with("The history was broken and has been set aside as " +
                                         folder + "/history.broken-"));
}

TEST_F(HistoryStoreTest, SetsAsideAnotherProgramsDatabase) {
  fs::create_directories(folder);
  std::ofstream(database).flush();
  SqlConnection(database, SqlConnection::Access::write).run("CREATE TABLE bookmarks(x)");
  chmod(database.c_str(), 0600);
  chmod(folder.c_str(), 0700);
  write("/srv/a");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/a"});
  EXPECT_TRUE(isSetAside());
}

TEST_F(HistoryStoreTest, SetsAsideAHistoryInWhichSomebodyPlantedATrigger) {
  write("/srv/a");
  store.close();
  SqlConnection(database, SqlConnection::Access::write)
      .run("CREATE TRIGGER t AFTER INSERT ON results BEGIN DELETE FROM runs; END");
  write("/srv/b");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/b"});
  EXPECT_TRUE(isSetAside());
}

TEST_F(HistoryStoreTest, SetsAsideOneThatBreaksInTheMiddleOfItsWork) {
  for (int at = 0; at < 50; ++at) {
    write("/srv/" + std::string(500, 'x'));
  }
  store.close();
  {
    std::fstream file(database, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4096);
    file << std::string(4096L * 12, '\x7F');
  }
  write("/srv/new");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/new"});
  EXPECT_TRUE(isSetAside());
}

TEST_F(HistoryStoreTest, SetsALinkAsideAndLeavesAloneWhatItLeadsTo) {
  fs::create_directories(folder);
  chmod(folder.c_str(), 0700);
  const std::string other = home.write("other.sqlite", "");
  fs::create_symlink(other, database);
  write("/srv/a");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/a"});
  EXPECT_EQ(TemporaryFolder::read(other), "");
  EXPECT_TRUE(isSetAside());
}

TEST_F(HistoryStoreTest, SetsAsideAFolderInItsPlace) {
  fs::create_directories(database);
  chmod(folder.c_str(), 0700);
  chmod(database.c_str(), 0700);
  write("/srv/a");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/a"});
  EXPECT_TRUE(isSetAside());
}

TEST_F(HistoryStoreTest, SetsAsideOneThatOthersCouldWrite) {
  write("/srv/a");
  store.close();
  chmod(database.c_str(), 0666);
  write("/srv/b");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/b"});
}

TEST_F(HistoryStoreTest, KeepsTheEarlierBrokenOnesAsWell) {
  for (int at = 0; at < 3; ++at) {
    store.close();
    fs::create_directories(folder);
    chmod(folder.c_str(), 0700);
    fs::remove(database + "-wal");
    fs::remove(database);
    home.write("state/vantrel/history.sqlite", "broken for the " + std::to_string(at), 0600);
    write("/srv/a");
  }
  EXPECT_EQ(names().size(), 3U + 3U);
}

TEST_F(HistoryStoreTest, DoesNotFillADiskThatBreaksEveryHistory) {
  const auto breakIt = [this] {
    store.close();
    fs::remove(database);
    home.write("state/vantrel/history.sqlite", "broken", 0600);
  };
  fs::create_directories(folder);
  chmod(folder.c_str(), 0700);
  for (int at = 0; at < 3; ++at) {
    breakIt();
    write("/srv/a");
  }
  breakIt();
  EXPECT_THROW(write("/srv/b"), PlatformException);
  clock.advance(std::chrono::hours(1));
  write("/srv/c");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/c"});
}

TEST_F(HistoryStoreTest, LeavesAloneWhatANewerVersionWrote) {
  write("/srv/a");
  store.close();
  SqlConnection(database, SqlConnection::Access::write).run("PRAGMA user_version=2");
  try {
    write("/srv/b");
    FAIL() << "it was written";
  } catch (const PlatformException& failure) {
    EXPECT_EQ(failure.reason(), database + " was written by a newer version of this program");
  }
  EXPECT_FALSE(isSetAside());
  HistoryReader reader(folder);
  EXPECT_EQ(reader.open(), HistoryReader::State::newer);
  EXPECT_EQ(reader.select({}).count(), 0U);
}

TEST_F(HistoryStoreTest, WritesIntoNoFolderOfOthers) {
  fs::create_directories(folder);
  chmod(folder.c_str(), 0777);
  EXPECT_THROW(write("/srv/a"), PlatformException);
  EXPECT_FALSE(TemporaryFolder::exists(database));
}

TEST_F(HistoryStoreTest, BeginsANewOneWhenItsUserDeletedIt) {
  write("/srv/a");
  fs::remove_all(folder);
  write("/srv/b");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/b"});
}

TEST_F(HistoryStoreTest, TakesNothingFromWhatLayBesideADeletedOneAndKeepsIt) {
  write("/srv/a");
  fs::copy_file(database + "-wal", home.at("wal"));
  store.close();
  fs::remove(database);
  fs::copy_file(home.at("wal"), database + "-wal");
  write("/srv/b");
  EXPECT_EQ(paths(), std::vector<std::string>{"/srv/b"});
  const auto all = names();
  EXPECT_TRUE(std::any_of(all.begin(), all.end(), [](const std::string& name) {
    return name.starts_with("history.broken-") && name.ends_with("-wal");
  }));
}

}  // namespace
}  // namespace quillo
