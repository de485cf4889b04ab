#include <gtest/gtest.h>

#include <vector>

#include "agent/ScannerCount.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

TEST(ScannerCount, IsNotClamped) {
  ManualClock clock;
  ScannerCount count(clock);
  EXPECT_EQ(count.scannerCount(), 0);
  count.modifyScannerCountBy(-1);
  EXPECT_EQ(count.scannerCount(), -1);
  count.modifyScannerCountBy(3);
  EXPECT_EQ(count.scannerCount(), 2);
}

TEST(ScannerCount, WakesTheAnimationAtEveryChange) {
  ManualClock clock;
  ScannerCount count(clock);
  for (const std::int32_t delta : {1, -1, 0}) {
    JoinedThreads animation([&] {
      count.throbberLock().lock();
      count.throbberLock().wait();
      count.throbberLock().unlock();
    });
    ASSERT_TRUE(clock.waitUntilParked(1));
    count.modifyScannerCountBy(delta);
    animation.join();
  }
  EXPECT_EQ(clock.now(), Clock::Duration::zero());
}

TEST(ScannerCount, AddsUpFromManyThreads) {
  ManualClock clock;
  ScannerCount count(clock);
  JoinedThreads scanners;
  for (int i = 0; i < 4; ++i) {
    scanners.start([&count] {
      for (int run = 0; run < 500; ++run) {
        count.modifyScannerCountBy(1);
        count.modifyScannerCountBy(-1);
        count.modifyScannerCountBy(1);
      }
    });
  }
  scanners.join();
  EXPECT_EQ(count.scannerCount(), 2000);
}

TEST(ScannerCount, GivesItsLocksToWhoeverAsks) {
  ManualClock clock;
  ScannerCount count(clock);
  count.throbberLock().lock();
  count.scannerCountLock().lock();
  count.scannerCountLock().unlock();
  count.throbberLock().unlock();
  count.modifyScannerCountBy(1);
  EXPECT_EQ(count.scannerCount(), 1);
}

}  // namespace
}  // namespace quillo
