#include <malloc.h>

#include <filesystem>

#include "tests/fakes/agent/WatchingAgent.h"

namespace quillo {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Which keep memory of their own, and take ten times as long.
constexpr bool countsBytes = false;
constexpr int rounds = 300;
#else
constexpr bool countsBytes = true;
constexpr int rounds = 10'000;
#endif
// As the watcher's thread is joined after so many.
constexpr int roundsTogether = 10;
constexpr auto lengthOfRound = std::chrono::milliseconds(24 * 3600 * 1000 / 10'000);

std::ptrdiff_t entriesOf(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

// What this process holds.
struct Holdings {
  std::ptrdiff_t threads = entriesOf("/proc/self/task");
  std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  std::size_t bytes = countsBytes ? mallinfo2().uordblks : 0;
};

class DayOfUse : public WatchingAgent {
 protected:
  void runRound(int number) {
    switch (number % 3) {
      case 0:
        agent().stopWatcher();
        agent().startWatcher();
        break;
      case 1:
        desktop.powerNotifications.willSleep();
        desktop.powerNotifications.didWake();
        break;
      default:
        desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart");
    }
    clock.advance(lengthOfRound);
    ASSERT_TRUE(helper.waitForLaunches(1));
    ASSERT_EQ(state(), State::watching);
  }
  void runRounds(int count) {
    for (int number = 0; number < count && !HasFatalFailure(); ++number) {
      if (number % roundsTogether == 0) {
        agent().startWatcher();
        ASSERT_TRUE(helper.waitForLaunches(1));
      }
      runRound(number);
      if (number % roundsTogether == roundsTogether - 1) {
        agent().stopWatcher();
        threads.join();
        forgetWhatFakesKeep();
      }
    }
  }
  void forgetWhatFakesKeep() {
    log().clear();
    threads.forgetNames();
    desktop.growl.withdrawn.clear();
    desktop.imageLoader.loaded.clear();
    desktop.statusBar.item.images.clear();
    desktop.statusBar.item.toolTips.clear();
  }
};

TEST_F(DayOfUse, LeavesNoThreadNoDescriptorAndNoByteBehind) {
  watch();
  agent().stopWatcher();
  threads.join();
  runRounds(50 * roundsTogether);
  const Holdings before;
  runRounds(rounds);
  const Holdings after;
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.descriptors, before.descriptors);
  // Whatever a round left behind would be more than a byte of it.
  EXPECT_LT(after.bytes, before.bytes + rounds);
}

}  // namespace
}  // namespace quillo
