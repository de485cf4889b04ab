#include <gtest/gtest.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/services/IdleThread.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

TEST(IdleThread, GivesWayForProcessorAndDisksAndNoOtherDoes) {
  JoinedThreads thread([] {
    EXPECT_EQ(IdleThread().giveWay(), "");
    EXPECT_EQ(sched_getscheduler(0), SCHED_IDLE);
    EXPECT_EQ(syscall(SYS_ioprio_get, 1, 0) >> 13, 3);
  });
  const int before = sched_getscheduler(0);
  thread.join();
  EXPECT_EQ(sched_getscheduler(0), before);
  EXPECT_NE(syscall(SYS_ioprio_get, 1, 0) >> 13, 3);
}

}  // namespace
}  // namespace quillo
