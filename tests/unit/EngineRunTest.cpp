#include <gtest/gtest.h>

#include "scanning/EngineRun.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class EngineStillRunning : public testing::Test {
 protected:
  FakeSystemLog systemLog;
  ManualClock clock;
};

TEST_F(EngineStillRunning, IsReportedOnceASecond) {
  clock.setSleepsPassAtOnce(true);
  int asked = 0;
  EngineRun::waitWhileStillRunning([&asked] { return ++asked <= 3; }, systemLog, clock);
  const std::string line = "Scanner task still running but performScan was about to exit!";
  EXPECT_EQ(systemLog.lines(), (Lines{line, line, line}));
  EXPECT_EQ(clock.slept(), std::chrono::seconds(3));
}

TEST_F(EngineStillRunning, IsNotReportedOnceItHasEnded) {
  EngineRun::waitWhileStillRunning([] { return false; }, systemLog, clock);
  EXPECT_EQ(systemLog.lines(), Lines());
  EXPECT_EQ(clock.slept(), Clock::Duration::zero());
}

}  // namespace
}  // namespace quillo
