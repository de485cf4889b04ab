#include "agent/MainApplication.h"

#include <gtest/gtest.h>

#include "tests/fakes/FakePlatform.h"
#include "tests/fakes/ManualClock.h"

namespace quillo {
namespace {

using Posted = std::vector<std::pair<std::string, std::string>>;

class MainApplicationTest : public testing::Test {
 protected:
  MainApplicationTest() { clock.setSleepsPassAtOnce(true); }

  FakePlatform desktop;
  ManualClock clock;
  MainApplication mainApplication{desktop.application, desktop.applicationLauncher, clock,
                                  desktop.distributedNotificationCenter};
};

TEST_F(MainApplicationTest, IsLaunchedByItsIdentifier) {
  EXPECT_TRUE(mainApplication.openApp());
  EXPECT_EQ(desktop.applicationLauncher.launched, std::vector<std::string>{"org.vantrel.Vantrel"});
  desktop.applicationLauncher.accepts = false;
  EXPECT_FALSE(mainApplication.openApp());
  EXPECT_EQ(desktop.application.beeps, 0);
}

TEST_F(MainApplicationTest, IsWaitedForUntilTheDesktopHasStartedIt) {
  int asked = 0;
  int waits = 0;
  desktop.application.duringWait = [&waits] { ++waits; };
  desktop.applicationLauncher.launching = [&asked] { return ++asked < 4; };
  mainApplication.awaitLaunch();
  EXPECT_EQ(waits, 3);
  mainApplication.awaitLaunch();
  EXPECT_EQ(waits, 3);
}

TEST_F(MainApplicationTest, ThatIsNeverStartedIsWaitedForTwoSeconds) {
  desktop.applicationLauncher.launching = [] { return true; };
  mainApplication.awaitLaunch();
  EXPECT_EQ(clock.slept(), Clock::Duration(std::chrono::seconds(2)));
}

TEST_F(MainApplicationTest, IsAskedForItsPreferencesOnceItIsTheActiveOne) {
  int asked = 0;
  desktop.applicationLauncher.active = [&asked] {
    ++asked;
    return asked < 4 ? "org.other" : "org.vantrel.Vantrel";
  };
  mainApplication.openPrefs();
  EXPECT_EQ(asked, 4);
  EXPECT_EQ(clock.slept(), Clock::Duration(std::chrono::seconds(3)));
  EXPECT_EQ(desktop.distributedNotificationCenter.posted,
            (Posted{{"VantrelShouldOpenPrefs", "VantrelQuillo"}}));
  EXPECT_EQ(desktop.application.beeps, 0);
}

TEST_F(MainApplicationTest, IsNotWaitedForWhenItIsActiveAlready) {
  desktop.applicationLauncher.active = [] { return "org.vantrel.Vantrel"; };
  mainApplication.openPrefs();
  EXPECT_EQ(clock.slept(), Clock::Duration::zero());
  EXPECT_EQ(desktop.distributedNotificationCenter.posted.size(), 1U);
}

TEST_F(MainApplicationTest, IsWaitedForWithTheDesktopAlive) {
  int asked = 0;
  int waits = 0;
  desktop.applicationLauncher.active = [&asked] {
    return ++asked < 3 ? "" : "org.vantrel.Vantrel";
  };
  desktop.application.duringWait = [&waits] { ++waits; };
  mainApplication.openPrefs();
  EXPECT_EQ(waits, 2);
}

TEST_F(MainApplicationTest, IsBeepedForWhenItCannotBeLaunched) {
  desktop.applicationLauncher.accepts = false;
  mainApplication.openPrefs();
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_TRUE(desktop.distributedNotificationCenter.posted.empty());
  EXPECT_EQ(clock.slept(), Clock::Duration::zero());
}

}  // namespace
}  // namespace quillo
