// The helper's failures: the real one under the real agent, and scripts that fail in ways that it
// does not.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/fakes/watching/HelperProgram.h"
#include "tests/faults/support/ProcessFacts.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"
#include "watchers/FSEventWatcher.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

TEST(FaultyHelper, ThatIsStoppedAndGoesOnReportsEverythingInBetween) {
  GuardedHome home;
  home.startAndAwaitWatching();
  const pid_t helper = home.helper();
  ASSERT_EQ(kill(helper, SIGSTOP), 0);
  for (int number = 0; number < 50; ++number) {
    home.save("file" + std::to_string(number), "clean");
  }
  const std::string infected = home.saveInfected("bad.com");
  ASSERT_EQ(kill(helper, SIGCONT), 0);
  EXPECT_TRUE(home.logHas(infected + found));
  EXPECT_TRUE(home.logHas(home.guarded("file49") + ": OK"));
  EXPECT_EQ(home.helper(), helper);
}

// The agent's watcher with a helper of the test's and a clock of its own.
class ScriptedHelper : public testing::Test {
 protected:
  ~ScriptedHelper() override { stop(); }

  void start(const std::string& script) {
    owner.watch("/w/", true);
    helper = std::make_unique<HelperProgram>(script);
    desktop.folders.resources = helper->resourceFolder();
    ASSERT_TRUE(watcher.claimMainLoop());
    loop.start([this] { watcher.mainLoop(); });
  }
  void stop() {
    if (loop.areLeft()) {
      watcher.stopWatching();
      loop.join();
    }
  }
  // Sees to so many launches in all, each of which reports a path, over all pauses.
  bool awaitLaunches(std::size_t count) {
    const auto areThere = [&] {
      if (clock.parked() > 0) {
        clock.advance(std::chrono::seconds(30));
      }
      return owner.paths().size() >= count;
    };
    // Some hundred processes.
    return awaitThat(areThere, 3 * longestWait);
  }

  FakePlatform desktop;
  ManualClock clock;
  FakeWatcherOwner owner;
  const WatcherServices services = watcherServicesOf(desktop, clock, owner);
  FSEventWatcher watcher{owner, services};
  std::unique_ptr<HelperProgram> helper;
  JoinedThreads loop;
};

TEST_F(ScriptedHelper, ThatIsKilledAHundredTimesIsStartedAHundredTimesAndLeavesNothingBehind) {
  const auto threads = threadsOf(getpid());
  start("echo /w/file; kill -KILL $$");
  ASSERT_TRUE(awaitLaunches(2));
  const int descriptors = openDescriptors(getpid());
  ASSERT_TRUE(awaitLaunches(100));
  EXPECT_TRUE(watcher.isWatching());
  stop();
  // One that looks for what was missed may still be about to end.
  EXPECT_TRUE(awaitThat([&] { return openDescriptors(getpid()) <= descriptors; }))
      << openDescriptors(getpid()) << " beside " << descriptors;
  EXPECT_TRUE(awaitThat([&] { return threadsOf(getpid()) <= threads; })) << threadsOf(getpid());
}

TEST_F(ScriptedHelper, ThatPrintsGarbageAtFullSpeedIsReadAndCanBeStopped) {
  start("exec cat /dev/urandom");
  ASSERT_TRUE(helper->waitForLaunches(1));
  const auto reading = [] { return TemporaryFolder::read("/proc/self/io"); };
  const auto bytes = [&] { return std::stoll(reading().substr(7)); };
  const long long before = bytes();
  ASSERT_TRUE(awaitThat([&] { return bytes() > before + (50LL << 20); }, 3 * longestWait));
  EXPECT_TRUE(watcher.isWatching());
  stop();
  EXPECT_FALSE(watcher.isWatching());
  EXPECT_LT(peakMemory(getpid()), tolerated(100L << 10));
}

TEST_F(ScriptedHelper, IsStartedAgainWhateverItsStatus) {
  // All but 1, which asks for the rights that it lacks; and over again, until the test has looked.
  start(
      "n=$(cat \"${0%/*}/status\" 2>/dev/null || echo 0); [ $n = 1 ] && n=2\n"
      "echo $(((n + 1) % 256)) > \"${0%/*}/status\"; echo /w/file$n; exit $n");
  ASSERT_TRUE(awaitLaunches(256));
  for (int status = 0; status < 256; ++status) {
    const std::string line = "termination status = " + std::to_string(status);
    int times = 0;
    for (const std::string& logged : desktop.systemLog.lines()) {
      times += logged == line ? 1 : 0;
    }
    // With the fourth it says that it lost events, and is started again without a pause.
    EXPECT_TRUE(status == 1 ? times == 0 : times >= 1) << status;
  }
  EXPECT_TRUE(watcher.isWatching());
}

}  // namespace
}  // namespace quillo::tests
