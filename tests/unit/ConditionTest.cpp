#include <gtest/gtest.h>

#include "posix/Mutex.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

TEST(Condition, WaitReturnsAfterThirtySecondsWithoutASignal) {
  ManualClock clock;
  Condition condition(clock);
  JoinedThreads waiter([&condition] {
    condition.lock();
    condition.wait();
    condition.unlock();
  });
  ASSERT_TRUE(clock.waitUntilParked(1));
  clock.advance(std::chrono::seconds(29));
  EXPECT_EQ(clock.parked(), 1);
  clock.advance(std::chrono::seconds(1));
  waiter.join();
}

TEST(Condition, SignalWakesAWaiterBeforeItsTimeIsOver) {
  ManualClock clock;
  Condition condition(clock);
  JoinedThreads waiter([&condition] {
    condition.lock();
    condition.wait();
    condition.unlock();
  });
  ASSERT_TRUE(clock.waitUntilParked(1));
  condition.lock();
  condition.signal();
  condition.unlock();
  waiter.join();
  EXPECT_EQ(clock.now(), Clock::Duration::zero());
}

}  // namespace
}  // namespace quillo
