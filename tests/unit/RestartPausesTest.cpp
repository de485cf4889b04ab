#include <gtest/gtest.h>

#include <vector>

#include "watchers/FSEventWatcher.h"

namespace quillo {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class RestartPausesTest : public testing::Test {
 protected:
  // The pause after a run of that length; the pause itself passes, too.
  Clock::Duration after(Clock::Duration length) {
    const Clock::Duration began = now;
    now += length;
    const Clock::Duration pause = pauses.afterRun(began, now);
    now += pause;
    return pause;
  }
  void endTenTimes() {
    for (int run = 0; run < 10; ++run) {
      ASSERT_EQ(after(milliseconds(5)), seconds(0));
    }
  }
  Clock::Duration now{0};
  RestartPauses pauses;
};

TEST_F(RestartPausesTest, AreNoneForTenRestarts) {
  endTenTimes();
  EXPECT_FALSE(pauses.isPausing());
}

TEST_F(RestartPausesTest, DoubleUpToThirtySeconds) {
  endTenTimes();
  std::vector<Clock::Duration> all;
  for (int run = 0; run < 7; ++run) {
    all.push_back(after(milliseconds(5)));
  }
  EXPECT_EQ(all, (std::vector<Clock::Duration>{seconds(1), seconds(2), seconds(4), seconds(8),
                                               seconds(16), seconds(30), seconds(30)}));
}

TEST_F(RestartPausesTest, AreNoneForTenRestartsThatTookLonger) {
  for (int run = 0; run < 100; ++run) {
    ASSERT_EQ(after(milliseconds(1200)), seconds(0)) << run;
  }
}

TEST_F(RestartPausesTest, EndWithARunThatLasted) {
  endTenTimes();
  EXPECT_EQ(after(milliseconds(5)), seconds(1));
  EXPECT_TRUE(pauses.isPausing());
  EXPECT_EQ(after(seconds(10)), seconds(0));
  EXPECT_FALSE(pauses.isPausing());
  for (int run = 0; run < 9; ++run) {
    ASSERT_EQ(after(milliseconds(5)), seconds(0));
  }
  EXPECT_EQ(after(milliseconds(5)), seconds(1));
}

}  // namespace
}  // namespace quillo
