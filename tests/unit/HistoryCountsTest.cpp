#include <gtest/gtest.h>

#include "companion/results/HistoryCounts.h"
#include "history/HistoryStore.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class HistoryCountsTest : public testing::Test {
 protected:
  void keep(HistoryResult::Kind kind, WallTime time) {
    HistoryBatch batch;
    HistoryResult result;
    result.kind = kind;
    result.time = time;
    result.path = "/a";
    result.says = "why";
    batch.changes.emplace_back(result);
    store.write(batch);
  }

  TemporaryFolder folder;
  ManualClock clock;
  FakeSystemLog log;
  FakeLocalizedStrings strings;
  HistoryStore store{folder.path(), clock, log, {}};
  HistoryCounts counts{folder.path(), strings};
  const WallTime now = clock.wallTime();
};

TEST_F(HistoryCountsTest, AreThoseSinceTheMoment) {
  keep(HistoryResult::Kind::found, now - std::chrono::hours(2));
  keep(HistoryResult::Kind::found, now);
  keep(HistoryResult::Kind::notScanned, now);
  const RecentCounts::Counts result = counts.countsSince(now - std::chrono::hours(1));
  EXPECT_EQ(result.found, 1U);
  EXPECT_EQ(result.notScanned, 1U);
  EXPECT_EQ(result.problem, "");
}

TEST_F(HistoryCountsTest, AreNoneBeforeThereIsAHistory) {
  const RecentCounts::Counts result = counts.countsSince(now);
  EXPECT_EQ(result.found, 0U);
  EXPECT_EQ(result.problem, "");
}

TEST_F(HistoryCountsTest, AreNotToldOfOneThatIsBroken) {
  keep(HistoryResult::Kind::found, now);
  store.close();
  folder.write("history.sqlite", std::string(5000, 'x'));
  strings.texts["WINDOW_HISTORY_BROKEN"] = "it is damaged";
  EXPECT_EQ(counts.countsSince(now).problem, "it is damaged");
}

TEST_F(HistoryCountsTest, AreNotToldOfOneThatIsDamagedOnlyWhereTheyAreRead) {
  keep(HistoryResult::Kind::found, now);
  store.close();
  damageFirstEntriesOf(folder.at("history.sqlite"), "resultsByKind");
  strings.texts["WINDOW_HISTORY_BROKEN"] = "it is damaged";
  EXPECT_EQ(counts.countsSince(now).problem, "it is damaged");
  EXPECT_FALSE(counts.countsSince(now).begins);
}

TEST_F(HistoryCountsTest, SaySinceWhenThereIsAHistory) {
  EXPECT_FALSE(counts.countsSince(now).begins);
  keep(HistoryResult::Kind::found, now - std::chrono::hours(2));
  EXPECT_EQ(counts.countsSince(now).begins,
            std::chrono::floor<std::chrono::seconds>(now - std::chrono::hours(2)));
}

}  // namespace
}  // namespace quillo
