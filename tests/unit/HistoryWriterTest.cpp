#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "clamav/Verdict.h"
#include "history/HistoryReader.h"
#include "history/HistoryRecorder.h"
#include "history/HistoryWriter.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Kind = HistoryResult::Kind;
using Outcome = HistoryResult::Outcome;

class HistoryWriterTest : public testing::Test {
 protected:
  HistoryWriterServices services() {
    return {clock,
            log,
            folder,
            home.path(),
            [this](std::size_t changes) {
              ++written;
              enteredChanges += changes;
            },
            {},
            [this](const std::string& problem) { problems.push_back(problem.empty()); }};
  }
  HistoryResult result(const std::string& path, Kind kind = Kind::found) {
    HistoryResult made;
    made.time = clock.wallTime();
    made.kind = kind;
    made.path = path;
    return made;
  }
  void record(const std::string& line, InfectedFileAction action) {
    recorder.record(Verdict::parse(line), action);
  }
  std::vector<HistoryResult> rows() {
    const HistorySelection selection = reader.select({});
    return reader.rows(selection, 0, selection.count());
  }
  HistoryResult only() {
    const auto all = rows();
    EXPECT_EQ(all.size(), 1U);
    return all.empty() ? HistoryResult() : all.front();
  }
  std::vector<BusyFolder> busy() { return reader.busyFolders(0, 100); }
  // Nothing can be made in it until it is gone.
  void block() { home.write("state", "in the way"); }
  void unblock() { fs::remove(folder); }

  const TemporaryFolder home;
  const std::string folder = home.at("state");
  PassingClock clock;
  FakeSystemLog log;
  FakeTrashFolders trash;
  int written = 0;
  std::size_t enteredChanges = 0;
  std::vector<bool> problems;  // of each change, whether it was over
  HistoryWriter writer{services()};
  HistoryRecorder recorder{writer, trash, clock, ScanSource::byHand, 7};
  HistoryReader reader{folder};
};

TEST_F(HistoryWriterTest, EntersWhatCameTogetherAfterAMoment) {
  const Clock::Duration before = clock.now();
  writer.add(result("/srv/a"));
  writer.add(result("/srv/b"));
  EXPECT_EQ(reader.select({}).count(), 0U);
  writer.step();
  EXPECT_EQ(reader.select({}).count(), 2U);
  EXPECT_EQ(clock.now() - before, HistoryWriter::delay);
  EXPECT_EQ(written, 1);
}

TEST_F(HistoryWriterTest, EntersMuchAtOnceBeforeItIsTooMuch) {
  const Clock::Duration before = clock.now();
  for (std::size_t at = 0; at < HistoryWriter::mostChanges / 4; ++at) {
    writer.add(result("/srv/a"));
  }
  writer.step();
  EXPECT_EQ(clock.now(), before);
  EXPECT_EQ(rows().size(), HistoryWriter::mostChanges / 4);
}

TEST_F(HistoryWriterTest, EntersAFileThatCannotBeScannedOnceADayForEachReason) {
  HistoryResult disk = result("/srv/disk", Kind::notScanned);
  for (const char* const reason : {"too large", "too large", "unreadable", "too large"}) {
    disk.says = reason;
    writer.add(disk);
    writer.step();
  }
  EXPECT_EQ(rows().size(), 2U);
  disk.source = ScanSource::byHand;
  writer.add(disk);
  writer.step();
  EXPECT_EQ(rows().size(), 3U);
  clock.advance(std::chrono::hours(24));
  disk.source = ScanSource::agent;
  writer.add(disk);
  writer.step();
  EXPECT_EQ(rows().size(), 4U);
}

TEST_F(HistoryWriterTest, EntersNoMoreFilesThatCannotBeScannedADayThanItsBound) {
  for (std::size_t file = 0; file < HistoryWriter::mostADay + 5; ++file) {
    writer.add(result("/srv/" + std::to_string(file), Kind::notScanned));
  }
  writer.add(result("/srv/find"));
  writer.step();
  EXPECT_EQ(rows().size(), HistoryWriter::mostADay + 2);
  clock.advance(std::chrono::hours(24));
  writer.add(result("/srv/more", Kind::notScanned));
  writer.step();
  EXPECT_EQ(rows().size(), HistoryWriter::mostADay + 3);
}

TEST_F(HistoryWriterTest, CountsAFindThatItsUserAllowedAsAFileLikeOthers) {
  Verdict find = Verdict::parse("/srv/a/b/c/d/e: Eicar FOUND");
  find.isSpared = true;
  recorder.record(find, InfectedFileAction::quarantine);
  writer.step();
  EXPECT_TRUE(rows().empty());
  ASSERT_EQ(busy().size(), 1U);
  EXPECT_EQ(busy().at(0).amount.files, 1U);
}

TEST_F(HistoryWriterTest, EntersAFindEachTime) {
  for (int at = 0; at < 3; ++at) {
    writer.add(result("/srv/a"));
  }
  writer.step();
  EXPECT_EQ(rows().size(), 3U);
}

TEST_F(HistoryWriterTest, CountsCleanFilesByFolderAndSizeAndNeverByName) {
  writer.addClean(home.write("a/secret.txt", "12345"));
  writer.addClean(home.write("a/other.txt", "123"));
  writer.addClean(home.at("a/gone.txt"));
  writer.step();
  ASSERT_EQ(busy().size(), 1U);
  EXPECT_EQ(busy()[0].folder, home.at("a"));
  EXPECT_EQ(busy()[0].amount, (ScannedAmount{3, 8}));
  EXPECT_EQ(busy()[0].day, calendarDayOf(clock.wallTime()));
  for (const auto& file : fs::directory_iterator(folder)) {
    EXPECT_EQ(TemporaryFolder::read(file.path()).find("secret"), std::string::npos);
  }
}

TEST_F(HistoryWriterTest, DoesNotFollowACleanLinkForItsSize) {
  home.write("large", std::string(5000, 'x'));
  writer.addClean(home.link("a-link", home.at("large")));
  writer.step();
  EXPECT_EQ(busy()[0].amount, (ScannedAmount{1, 0}));
}

TEST_F(HistoryWriterTest, SumsUpCleanFilesBeforeAnythingIsGivenUp) {
  const std::size_t many = HistoryWriter::mostNames + 500;
  for (std::size_t at = 0; at < many; ++at) {
    writer.addClean("/srv/a/" + std::to_string(at));
  }
  writer.add(result("/srv/a"));
  writer.step();
  EXPECT_EQ(busy()[0].amount.files, many);
  EXPECT_EQ(rows().size(), 1U);
  EXPECT_EQ(log.lines(), std::vector<std::string>());
}

TEST_F(HistoryWriterTest, KeepsNoMoreFoldersInMemoryThanItsBound) {
  const std::size_t many = HistoryWriter::mostFolders + 300;
  for (std::size_t at = 0; at < many; ++at) {
    writer.addClean("/srv/" + std::to_string(at) + "/file");
  }
  writer.step();
  const auto folders = reader.busyFolders(0, 2 * many);
  std::uint64_t files = 0;
  for (const BusyFolder& one : folders) {
    files += one.amount.files;
  }
  EXPECT_EQ(files, many);
  EXPECT_EQ(folders.size(), HistoryWriter::mostFolders + 1);
}

TEST_F(HistoryWriterTest, SaysHowMuchItHadToGiveUp) {
  for (std::size_t at = 0; at < HistoryWriter::mostChanges + 3; ++at) {
    writer.add(result("/srv/" + std::to_string(at)));
  }
  writer.step();
  EXPECT_EQ(rows().size(), HistoryWriter::mostChanges);
  EXPECT_TRUE(log.has("The history misses 3 entries, which were too many to keep."));
}

TEST_F(HistoryWriterTest, SaysHowMuchWasEnteredBesidesTheCounts) {
  writer.addClean("/srv/clean");
  writer.step();
  EXPECT_EQ(enteredChanges, 0U);
  writer.add(result("/srv/a"));
  writer.add(result("/srv/b"));
  writer.step();
  EXPECT_EQ(enteredChanges, 2U);
  EXPECT_EQ(written, 2);
}

TEST_F(HistoryWriterTest, KeepsInMemoryWhatCannotBeWrittenAndSaysSoOnce) {
  block();
  writer.add(result("/srv/a"));
  writer.addClean("/srv/clean");
  writer.step();
  writer.step();
  EXPECT_NE(writer.problem(), "");
  EXPECT_EQ(written, 0);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_TRUE(
      log.lines()[0].starts_with("The history cannot be kept for now; your folders are "
                                 "guarded as before. Reason: " +
                                 folder));
  unblock();
  writer.add(result("/srv/b"));
  writer.step();
  EXPECT_EQ(writer.problem(), "");
  EXPECT_EQ(rows().size(), 2U);
  EXPECT_EQ(busy().size(), 1U);
  EXPECT_TRUE(log.has("The history is kept again."));
  EXPECT_EQ(problems, (std::vector<bool>{false, true}));
}

TEST_F(HistoryWriterTest, TriesAgainOnlyAfterAWhile) {
  block();
  writer.add(result("/srv/a"));
  writer.step();
  const Clock::Duration before = clock.now();
  writer.step();
  EXPECT_GE(clock.now() - before, HistoryWriter::betweenAttempts);
}

TEST_F(HistoryWriterTest, GivesUpWhatCouldNotBeScannedBeforeAFind) {
  block();
  writer.add(result("/srv/found"));
  for (std::size_t at = 0; at < HistoryWriter::mostChanges - 1; ++at) {
    HistoryResult file = result("/srv/n" + std::to_string(at), Kind::notScanned);
    file.source = ScanSource::byHand;
    writer.add(file);
  }
  writer.step();
  for (int at = 0; at < 5; ++at) {
    writer.add(result("/srv/late"));
  }
  writer.step();
  unblock();
  writer.step();
  EXPECT_EQ(reader.select({.kind = Kind::found}).count(), 6U);
  EXPECT_EQ(rows().size(), HistoryWriter::mostChanges);
  EXPECT_EQ(rows().back().path, "/srv/found");
  EXPECT_EQ(rows().at(rows().size() - 2).path, "/srv/n5");
}

TEST_F(HistoryWriterTest, EntersAFindWithWhatWasDone) {
  Verdict verdict = Verdict::parse("/srv/a: Eicar FOUND");
  verdict.whereabouts = Verdict::Whereabouts::moved;
  verdict.target = "/srv/real";
  verdict.destination = "/home/anna/.Trash/real";
  recorder.record(verdict, InfectedFileAction::moveToTrash);
  writer.step();
  EXPECT_EQ(only().path, "/srv/real");
  EXPECT_EQ(only().says, "Eicar");
  EXPECT_EQ(only().outcome, Outcome::trashed);
  EXPECT_EQ(only().detail, "/home/anna/.Trash/real");
  EXPECT_EQ(only().source, ScanSource::byHand);
  EXPECT_EQ(only().run, 7);
}

TEST_F(HistoryWriterTest, EntersAFindThatCouldNotBeMovedWithItsReason) {
  Verdict verdict = Verdict::parse("/srv/a: Eicar FOUND");
  verdict.whereabouts = Verdict::Whereabouts::notMoved;
  verdict.reason = "no room";
  recorder.record(verdict, InfectedFileAction::quarantine);
  writer.step();
  EXPECT_EQ(only().outcome, Outcome::notMoved);
  EXPECT_EQ(only().detail, "no room");
}

TEST_F(HistoryWriterTest, EntersAFindOnceWhenItsMoveIsASecondLine) {
  record("/srv/a: Eicar FOUND", InfectedFileAction::quarantine);
  record("/srv/a: moved to '/q/a'", InfectedFileAction::quarantine);
  writer.step();
  EXPECT_EQ(only().outcome, Outcome::quarantined);
  EXPECT_EQ(only().detail, "/q/a");
}

TEST_F(HistoryWriterTest, EntersAFindThatNobodyWasToMoveAsLeft) {
  record("/srv/a: Eicar FOUND", InfectedFileAction::leaveInPlace);
  writer.step();
  EXPECT_EQ(only().outcome, Outcome::leftInPlace);
}

TEST_F(HistoryWriterTest, EntersAFileThatCouldNotBeScannedWithItsReason) {
  record("/srv/a: Not scanned: too large", InfectedFileAction::leaveInPlace);
  record("Summary of this and that", InfectedFileAction::leaveInPlace);
  writer.step();
  EXPECT_EQ(only().kind, Kind::notScanned);
  EXPECT_EQ(only().says, "too large");
}

TEST_F(HistoryWriterTest, WaitsForNobodyAtTheEndWithoutAThread) {
  writer.add(result("/srv/a"));
  const Clock::Duration before = clock.now();
  writer.end(std::chrono::seconds(5));
  EXPECT_EQ(clock.now(), before);
}

TEST_F(HistoryWriterTest, WaitsAtTheEndForAThreadThatHasNotRunYet) {
  // Keeps what it was given for later.
  struct LateThreads final : ThreadStarter {
    void detachNewThread(const std::string&, std::function<void()> begun) override {
      body = std::move(begun);
    }
    std::function<void()> body;
  } late;
  writer.begin(late);
  writer.add(result("/srv/a"));
  EXPECT_FALSE(writer.end(Clock::Duration::zero()));
  late.body();
  EXPECT_TRUE(writer.end(Clock::Duration::zero()));
  EXPECT_EQ(rows().size(), 1U);
}

TEST_F(HistoryWriterTest, TriesAgainToStartAThreadThatCouldNotBeHad) {
  // A thread that waits by a clock of its own making would let nobody else in.
  SystemClock real;
  HistoryWriter threaded({real, log, folder, home.path()});
  NoThreads none;
  EXPECT_THROW(threaded.begin(none), std::system_error);
  JoinedThreads threads;
  threaded.begin(threads);
  threaded.begin(threads);
  EXPECT_EQ(threads.names(), std::vector<std::string>{"history"});
  threaded.end(std::chrono::seconds(5));
}

}  // namespace
}  // namespace quillo
