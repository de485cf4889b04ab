// The real agent when the engine's updater, freshclam, fails.

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "tests/faults/support/ProcessFacts.h"
#include "tests/faults/support/ReplacedProgram.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/agent/SmallDesktop.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

constexpr char chosen[] = "Update Virus Definitions";
constexpr char updated[] = "The virus definitions have been updated.";
constexpr char failed[] = "The virus definitions could not be updated.";
const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

class FaultyUpdater : public testing::Test {
 protected:
  FaultyUpdater() {
    for (const std::string& variable : desktop.environment()) {
      home.setVariable(variable);
    }
    home.startAndAwaitWatching();
  }
  std::string updater() const { return home.tree() + "/bin/freshclam"; }
  testing::AssertionResult shows(const std::string& notification) {
    return desktop.awaitNotification(notification)
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << "notified: " << desktop.allNotifications()
                                             << "log: " << home.readLog().substr(0, 4000);
  }

  SmallDesktop desktop;
  GuardedHome home;
};

TEST_F(FaultyUpdater, ThatIsKilledHasFailed) {
  const ReplacedProgram killed(updater(), "kill -KILL $$");
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(failed));
}

TEST_F(FaultyUpdater, ThatHangsForEverHoldsNothingUp) {
  const ReplacedProgram hanging(updater(), ": > /tmp/guarded/home/hangs\nexec tail -f /dev/null");
  ASSERT_TRUE(desktop.choose(chosen));
  ASSERT_TRUE(awaitThat([&] { return std::filesystem::exists(home.home() + "/hangs"); }));
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_EQ(home.stop(), 0);
}

TEST_F(FaultyUpdater, ThatPrintsAHundredMegabytesCostsNoMemory) {
  const ReplacedProgram talkative(
      updater(), "yes \"$(head -c 4000 /dev/zero | tr '\\0' x)\" | head -c 100000000");
  const long before = peakMemory(home.agent());
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(updated));
  EXPECT_LT(peakMemory(home.agent()), before + (24L << 10));
}

TEST_F(FaultyUpdater, ThatPrintsWhatIsNoTextAndNoLineIsJudgedByItsStatus) {
  const ReplacedProgram binary(updater(), "head -c 3000000 /dev/urandom | tr -d '\\n'; exit 59");
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(failed));
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
}

TEST_F(FaultyUpdater, WhoseGrandchildHoldsThePipeIsNotWaitedFor) {
  const ReplacedProgram forking(updater(), "tail -f /dev/null &\nexit 0");
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(updated));
}

}  // namespace
}  // namespace quillo::tests
