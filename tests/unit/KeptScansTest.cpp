#include <gtest/gtest.h>

#include "clamav/Verdict.h"
#include "companion/scan/KeptScans.h"
#include "history/HistoryReader.h"
#include "history/HistoryWriter.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class KeptScansTest : public testing::Test {
 protected:
  HistoryReader& history() {
    writer.end(std::chrono::seconds(0));
    writer.step();
    EXPECT_EQ(reader.open(), HistoryReader::State::good) << reader.reason();
    return reader;
  }

  std::vector<ScanRun> runs() {
    HistoryReader& all = history();
    return all.runs(all.selectRuns(), 0, 10);
  }

  TemporaryFolder folder;
  ManualClock clock;
  FakeSystemLog log;
  FakeTrashFolders trash;
  HistoryWriter writer{{clock, log, folder.path(), "/home/ada", nullptr, {}}};
  HistoryReader reader{folder.path()};
  KeptScans scans{
      {writer, trash, clock, ScanSource::byHand, [] { return InfectedFileAction::leaveInPlace; }}};
};

TEST_F(KeptScansTest, AreRunsWithWhatTheyFound) {
  scans.runBegan({"/home/ada/stick"});
  scans.verdict(Verdict::parse("/home/ada/stick/a: Win.Test FOUND"));
  ManualScanResult result;
  result.clean = 7;
  result.found = 1;
  result.notScanned = 2;
  result.isStopped = true;
  scans.runEnded(result);
  const std::vector<ScanRun> kept = runs();
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_EQ(kept[0].source, ScanSource::byHand);
  EXPECT_EQ(kept[0].paths, std::vector<std::string>{"/home/ada/stick"});
  EXPECT_TRUE(kept[0].ended);
  EXPECT_EQ(kept[0].clean, 7U);
  EXPECT_EQ(kept[0].found, 1U);
  EXPECT_EQ(kept[0].notScanned, 2U);
  EXPECT_EQ(kept[0].end, ScanRun::End::stopped);
  const HistorySelection all = reader.select({});
  ASSERT_EQ(all.count(), 1U);
  const HistoryResult row = reader.rows(all, 0, 1).at(0);
  EXPECT_EQ(row.path, "/home/ada/stick/a");
  EXPECT_EQ(row.run, kept[0].id);
  EXPECT_EQ(row.outcome, HistoryResult::Outcome::leftInPlace);
}

TEST_F(KeptScansTest, SayHowTheyEnded) {
  using Problem = ManualScanResult::Problem;
  for (const Problem problem : {Problem::none, Problem::noEngine, Problem::noDaemon,
                                Problem::noQuarantine, Problem::tooMany, Problem::failed}) {
    scans.runBegan({"/a"});
    ManualScanResult result;
    result.problem = problem;
    scans.runEnded(result);
  }
  scans.runBegan({"/a"});
  ManualScanResult blind;
  blind.lacksDefinitions = true;
  scans.runEnded(blind);
  using End = ScanRun::End;
  std::vector<End> ends;
  for (const ScanRun& run : runs()) {
    EXPECT_FALSE(run.clean);
    ends.insert(ends.begin(), run.end);
  }
  EXPECT_EQ(ends, (std::vector<End>{End::whole, End::noEngine, End::noDaemon, End::noQuarantine,
                                    End::tooMany, End::failed, End::noDefinitions}));
}

TEST_F(KeptScansTest, ThatWereCutOffHaveNoEnd) {
  scans.runBegan({"/a"});
  const std::vector<ScanRun> kept = runs();
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_FALSE(kept[0].ended);
}

TEST_F(KeptScansTest, TakeNothingBetweenTwoRuns) {
  scans.verdict(Verdict::parse("/a: Win.Test FOUND"));
  scans.runEnded({});
  scans.runBegan({"/b"});
  scans.runEnded({});
  EXPECT_EQ(runs().size(), 1U);
  EXPECT_EQ(reader.select({}).count(), 0U);
}

TEST_F(KeptScansTest, SayOfAFindThatItsUserMovedItLater) {
  KeptMoves moves(writer, trash, clock);
  scans.runBegan({"/a"});
  scans.verdict(Verdict::parse("/a: Win.Test FOUND"));
  scans.runEnded({});
  moves.runBegan({"/a"});
  moves.verdict(Verdict::parse("/a: moved to '/q/a'"));
  moves.runEnded({});
  EXPECT_EQ(runs().size(), 1U);
  const HistorySelection all = reader.select({});
  ASSERT_EQ(all.count(), 1U);
  EXPECT_EQ(reader.rows(all, 0, 1).at(0).outcome, HistoryResult::Outcome::quarantined);
  EXPECT_EQ(reader.rows(all, 0, 1).at(0).detail, "/q/a");
}

TEST_F(KeptScansTest, SayOfAFindThatItWasMovedAtTheSecondAttempt) {
  KeptMoves moves(writer, trash, clock);
  scans.runBegan({"/a"});
  scans.verdict(Verdict::parse("/a: Win.Test FOUND"));
  scans.runEnded({});
  Verdict refused = Verdict::parse("/a: Win.Test FOUND");
  refused.whereabouts = Verdict::Whereabouts::notMoved;
  refused.reason = "no room";
  moves.verdict(refused);
  moves.verdict(Verdict::parse("/a: moved to '/q/a'"));
  history();
  EXPECT_EQ(reader.rows(reader.select({}), 0, 1).at(0).outcome,
            HistoryResult::Outcome::quarantined);
}

TEST_F(KeptScansTest, CountWhatIsCleanInTheFolderThatWasScanned) {
  ManualScanResult result;
  result.clean = 7;
  result.cleanBytes = 700;
  const std::string stick = folder.makeFolder("stick");
  folder.makeFolder("stick/a");
  for (const std::vector<std::string>& paths :
       {std::vector<std::string>{stick}, {stick + "/a", stick + "/b.txt"}}) {
    scans.runBegan(paths);
    scans.runEnded(result);
  }
  scans.runBegan({stick + "/a", "relative"});
  result.clean = std::nullopt;
  scans.runEnded(result);
  const std::vector<BusyFolder> busy = history().busiestFolders(0, 10);
  ASSERT_EQ(busy.size(), 1U);
  EXPECT_EQ(busy[0].folder, countedFolderOf(stick + "/", "/home/ada"));
  EXPECT_EQ(busy[0].amount, (ScannedAmount{14, 1400}));
}

}  // namespace
}  // namespace quillo
