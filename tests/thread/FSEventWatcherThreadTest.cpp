#include <gtest/gtest.h>

#include "posix/FileFacts.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/fakes/watching/HelperProgram.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"
#include "watchers/FSEventWatcher.h"

namespace quillo {
namespace {

// Notes down when it finds another one running, then stands still until it is ended. A trap would
// not do: the shell would miss a signal that came just before it reads.
constexpr const char* jealous =
    "{ read other < \"${0%/*}/running\" && kill -0 \"$other\" && : > \"${0%/*}/two\"; } "
    "2>/dev/null\n"
    "echo $$ > \"${0%/*}/running\"\n"
    "read line < \"$go\"";

class WatcherRaces : public testing::Test {
 protected:
  WatcherRaces() { desktop.folders.resources = helper.resourceFolder(); }
  ~WatcherRaces() override {
    watcher.stopWatching();
    threads.join();
  }
  // As the agent does it.
  void start() {
    if (!watcher.isWatching() && watcher.claimMainLoop()) {
      threads.detachNewThread("FSEventWatcher", [this] { watcher.mainLoop(); });
    }
  }
  void expectNeverTwo() { EXPECT_FALSE(fileExists(helper.resourceFolder() + "/two")); }

  FakePlatform desktop;
  ManualClock clock;
  FakeWatcherOwner owner;
  const WatcherServices services = watcherServicesOf(desktop, clock, owner);
  HelperProgram helper{jealous};
  FSEventWatcher watcher{owner, services};
  JoinedThreads threads;
};

TEST_F(WatcherRaces, AStopWhileTheHelperIsLaunchedEndsIt) {
  for (int round = 0; round < 20; ++round) {
    start();
    watcher.stopWatching();
    threads.join();
    EXPECT_FALSE(watcher.isWatching());
  }
  expectNeverTwo();
}

TEST_F(WatcherRaces, AStopBeforeTheLoopHasBegunKeepsItFromWatching) {
  ASSERT_TRUE(watcher.claimMainLoop());
  watcher.stopWatching();
  threads.detachNewThread("FSEventWatcher", [this] { watcher.mainLoop(); });
  threads.join();
  EXPECT_FALSE(watcher.isWatching());
  EXPECT_EQ(desktop.systemLog.lines(),
            std::vector<std::string>{"attempting to terminate gfslogger"});
}

TEST_F(WatcherRaces, AStartWhileTheOldLoopEndsLetsThatOneGoOn) {
  start();
  ASSERT_TRUE(helper.waitForLaunches(1));
  watcher.stopWatching();
  start();
  ASSERT_TRUE(helper.waitForLaunches(1));
  EXPECT_TRUE(watcher.isWatching());
  EXPECT_FALSE(watcher.claimMainLoop());
  watcher.stopWatching();
  threads.join();
  EXPECT_FALSE(watcher.isWatching());
  expectNeverTwo();
}

TEST_F(WatcherRaces, ManyStartsAndStopsNeverMakeASecondLoop) {
  for (int round = 0; round < 15; ++round) {
    start();
    start();
    watcher.stopWatching();
    start();
  }
  start();
  ASSERT_TRUE(helper.waitForLaunches(1));
  expectNeverTwo();
}

TEST_F(WatcherRaces, StartsFromTwoThreadsMakeOneLoop) {
  std::atomic<int> claims{0};
  JoinedThreads other([&] { claims += watcher.claimMainLoop() ? 1 : 0; });
  claims += watcher.claimMainLoop() ? 1 : 0;
  other.join();
  EXPECT_EQ(claims, 1);
  watcher.stopWatching();
  watcher.mainLoop();
}

TEST_F(WatcherRaces, StopsFromTwoThreadsAreAsGoodAsOne) {
  start();
  ASSERT_TRUE(helper.waitForLaunches(1));
  JoinedThreads other([this] { watcher.stopWatching(); });
  watcher.stopWatching();
  other.join();
  threads.join();
  EXPECT_FALSE(watcher.isWatching());
}

TEST_F(WatcherRaces, FoldersMayChangeWhileLinesAreJudged) {
  JoinedThreads changer([this] {
    for (int round = 0; round < 100; ++round) {
      owner.watch("/w/", round % 2 == 0);
      owner.watchNothing();
    }
  });
  for (int round = 0; round < 100; ++round) {
    EXPECT_TRUE(watcher.taskDataAvailable("/w/x\n"));
  }
  changer.join();
}

}  // namespace
}  // namespace quillo
