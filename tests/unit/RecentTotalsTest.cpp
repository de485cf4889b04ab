#include <gtest/gtest.h>

#include "agent/RecentTotals.h"
#include "history/HistoryStore.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/LaterThreads.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

// Each look at it takes a while.
class SlowClock final : public PassingClock {
 public:
  Duration now() override {
    advance(atEachLook);
    return PassingClock::now();
  }

  Duration atEachLook = std::chrono::milliseconds(100);
};

class RecentTotalsTest : public testing::Test {
 protected:
  void addFind(const std::string& path) {
    HistoryResult find;
    find.time = clock.wallTime();
    find.path = path;
    store.write({{find}, {}});
  }

  TemporaryFolder folder;
  SlowClock clock;
  LaterThreads threads;
  FakeSystemLog log;
  HistoryStore store{folder.path(), clock, log, {}};
  int countedLater = 0;
  RecentTotals totals{clock, threads, folder.path(), [this] { ++countedLater; }};
};

TEST_F(RecentTotalsTest, AreThoseOfTheHistory) {
  addFind("/a");
  addFind("/b");
  addFind("/a");
  totals.countAnew();
  EXPECT_EQ(totals.totals().found, 2U);
  EXPECT_EQ(countedLater, 0);
}

TEST_F(RecentTotalsTest, RestBeforeALongHistoryIsCountedAgain) {
  addFind("/a");
  totals.countAnew();
  addFind("/b");
  totals.countAnew();
  totals.countAnew();
  EXPECT_EQ(totals.totals().found, 1U);
  ASSERT_EQ(threads.bodies.size(), 1U) << "all news together are counted once";
  threads.runAll();
  EXPECT_GT(clock.slept, std::chrono::seconds(5));
  EXPECT_EQ(totals.totals().found, 2U);
  EXPECT_EQ(countedLater, 1);
}

TEST_F(RecentTotalsTest, AreCountedAtOnceAfterTheirRest) {
  totals.countAnew();
  addFind("/a");
  clock.advance(std::chrono::minutes(1));
  totals.countAnew();
  EXPECT_EQ(totals.totals().found, 1U);
  EXPECT_TRUE(threads.bodies.empty());
}

TEST_F(RecentTotalsTest, DoNotRestForLongAfterADiskThatTookLong) {
  clock.atEachLook = std::chrono::seconds(10);
  totals.countAnew();
  addFind("/a");
  totals.countAnew();
  threads.runAll();
  EXPECT_LE(clock.slept, RecentTotals::longestRest);
  EXPECT_EQ(totals.totals().found, 1U);
}

TEST_F(RecentTotalsTest, AreTriedAgainWhereTheSystemHasNoThread) {
  NoThreads none;
  RecentTotals alone(clock, none, folder.path(), [] {});
  alone.countAnew();
  addFind("/a");
  alone.countAnew();
  clock.advance(std::chrono::minutes(1));
  alone.countAnew();
  EXPECT_EQ(alone.totals().found, 1U);
}

}  // namespace
}  // namespace quillo
