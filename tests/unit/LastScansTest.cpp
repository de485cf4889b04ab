#include <gtest/gtest.h>

#include "companion/planned/LastScans.h"
#include "history/HistoryStore.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class LastScansTest : public testing::Test {
 protected:
  std::int64_t keep(const std::vector<std::string>& paths,
                    ScanSource source = ScanSource::planned) {
    clock.advance(std::chrono::hours(1));
    ScanRun run;
    run.id = makeRunId();
    run.source = source;
    run.started = clock.wallTime();
    run.paths = paths;
    store.write({{run}, {}});
    return run.id;
  }
  static PlannedScan plan(const std::string& id, const std::vector<std::string>& folders) {
    PlannedScan scan;
    scan.id = id;
    scan.folders = folders;
    return scan;
  }

  TemporaryFolder folder;
  ManualClock clock;
  FakeSystemLog log;
  HistoryStore store{folder.path(), clock, log, {}};
};

TEST_F(LastScansTest, AreNotKnownWithoutAHistory) {
  EXPECT_FALSE(lastScansOf({plan("a", {"/a"})}, folder.path()));
}

TEST_F(LastScansTest, AreTheLatestPlannedOnesOfExactlyThoseFolders) {
  keep({"/a"});
  const std::int64_t latest = keep({"/a"});
  keep({"/a"}, ScanSource::byHand);
  keep({"/a", "/b"});
  const auto last = lastScansOf({plan("a", {"/a"}), plan("b", {"/b"})}, folder.path());
  ASSERT_TRUE(last);
  ASSERT_EQ(last->size(), 1U);
  EXPECT_EQ(last->at("a").id, latest);
}

TEST_F(LastScansTest, AreNotGivenToEitherOfTwoPlansOfTheSameFolders) {
  keep({"/a"});
  keep({"/b"});
  const auto last = lastScansOf({plan("daily", {"/a"}), plan("weekly", {"/a"}), plan("b", {"/b"})},
                                folder.path());
  ASSERT_TRUE(last);
  EXPECT_EQ(last->size(), 1U);
  EXPECT_EQ(last->count("b"), 1U);
}

TEST_F(LastScansTest, AreKnownToHaveMoreFoldersThanTheirRowHasRoomFor) {
  const std::vector<std::string> folders = {"/" + std::string(5000, 'a'),
                                            "/" + std::string(5000, 'b'), "/c"};
  keep(folders);
  const auto last = lastScansOf({plan("a", folders)}, folder.path());
  ASSERT_TRUE(last);
  EXPECT_EQ(last->size(), 1U);
}

TEST_F(LastScansTest, AreFoundBehindManyOthers) {
  const std::int64_t first = keep({"/a"});
  HistoryBatch batch;
  for (int other = 0; other < 450; ++other) {
    ScanRun run;
    run.id = makeRunId();
    run.started = clock.wallTime();
    run.paths = {"/other"};
    batch.changes.emplace_back(run);
  }
  store.write(batch);
  const auto last = lastScansOf({plan("a", {"/a"})}, folder.path());
  ASSERT_TRUE(last);
  ASSERT_EQ(last->count("a"), 1U);
  EXPECT_EQ(last->at("a").id, first);
}

}  // namespace
}  // namespace quillo
