#include "tests/fakes/agent/WatchingAgent.h"
#include "tests/support/Holdings.h"

namespace quillo {
namespace {

constexpr int rounds = isSanitized ? 80 : 2'500;
// As the watcher's thread is joined after so many.
constexpr int roundsTogether = 10;
constexpr auto lengthOfRound = std::chrono::milliseconds(24 * 3600 * 1000 / 10'000);
// Of the heap's pieces, as glibc makes them.
constexpr std::size_t smallestPiece = 32;

// 10,000 rounds, a quarter of them in each process.
class DayOfUse : public WatchingAgent, public testing::WithParamInterface<int> {
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
};

TEST_P(DayOfUse, LeavesNoThreadNoDescriptorAndNoByteBehind) {
  clock.advance(GetParam() * rounds * lengthOfRound);
  watch();
  agent().stopWatcher();
  threads.join();
  runRounds(20 * roundsTogether);
  const Holdings before;
  runRounds(rounds);
  const Holdings after;
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.descriptors, before.descriptors);
  // Had one round in four left anything behind, it would be more.
  EXPECT_LT(after.bytes, before.bytes + rounds / 4 * smallestPiece);
}
INSTANTIATE_TEST_SUITE_P(Quarters, DayOfUse, testing::Range(0, 4));

}  // namespace
}  // namespace quillo
