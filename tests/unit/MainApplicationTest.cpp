#include <gtest/gtest.h>

#include "agent/MainApplication.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

using Posted = std::vector<std::pair<std::string, std::string>>;

class MainApplicationTest : public testing::Test {
 protected:
  MainApplicationTest() { clock.setSleepsPassAtOnce(true); }

  FakePlatform desktop;
  void openPrefs() {
    mainApplication.openPrefs([this] { ++done; });
  }

  ManualClock clock;
  FakeThreads threads;
  int done = 0;
  MainApplication mainApplication{desktop.application, desktop.applicationLauncher, clock,
                                  desktop.distributedNotificationCenter, threads};
};

TEST_F(MainApplicationTest, IsLaunchedByItsIdentifier) {
  EXPECT_TRUE(mainApplication.openApp());
  EXPECT_EQ(desktop.applicationLauncher.launched, std::vector<std::string>{"org.vantrel.Vantrel"});
  desktop.applicationLauncher.accepts = false;
  EXPECT_EQ(desktop.application.beeps, 0);
  EXPECT_FALSE(mainApplication.openApp());
  EXPECT_EQ(desktop.application.beeps, 1);
}

TEST_F(MainApplicationTest, ShowsAPageWhereItIsInstalled) {
  EXPECT_TRUE(mainApplication.openPage("folders"));
  EXPECT_EQ(desktop.applicationLauncher.pages,
            std::vector<std::string>{"org.vantrel.Vantrel folders"});
  desktop.applicationLauncher.installed = false;
  EXPECT_FALSE(mainApplication.openPage("folders"));
  EXPECT_EQ(desktop.applicationLauncher.pages.size(), 1U);
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

TEST_F(MainApplicationTest, ThatTheDesktopCouldNotStartIsBeepedFor) {
  desktop.applicationLauncher.failed = true;
  mainApplication.awaitLaunch();
  EXPECT_EQ(desktop.application.beeps, 1);
}

TEST_F(MainApplicationTest, IsAskedForItsPreferencesOnceItIsTheActiveOne) {
  int asked = 0;
  desktop.applicationLauncher.active = [&asked] {
    ++asked;
    return asked < 4 ? "org.other" : "org.vantrel.Vantrel";
  };
  openPrefs();
  EXPECT_EQ(done, 0);
  threads.run("openPrefs");
  EXPECT_EQ(asked, 4);
  EXPECT_EQ(clock.slept(), Clock::Duration(std::chrono::seconds(3)));
  EXPECT_EQ(desktop.distributedNotificationCenter.posted,
            (Posted{{"VantrelShouldOpenPrefs", "VantrelQuillo"}}));
  EXPECT_EQ(done, 1);
  EXPECT_EQ(desktop.application.beeps, 0);
}

TEST_F(MainApplicationTest, IsNotWaitedForWhenItIsActiveAlready) {
  desktop.applicationLauncher.active = [] { return "org.vantrel.Vantrel"; };
  openPrefs();
  EXPECT_TRUE(threads.names().empty());
  EXPECT_EQ(desktop.distributedNotificationCenter.posted.size(), 1U);
  EXPECT_EQ(done, 1);
}

TEST_F(MainApplicationTest, IsWaitedForWithoutAWaitOfTheMainThread) {
  int waits = 0;
  desktop.application.duringWait = [&waits] { ++waits; };
  openPrefs();
  EXPECT_EQ(waits, 0);
  EXPECT_EQ(clock.slept(), Clock::Duration::zero());
  EXPECT_EQ(threads.names(), std::vector<std::string>{"openPrefs"});
}

TEST_F(MainApplicationTest, IsWaitedForOnceHoweverOftenItIsAskedFor) {
  bool isActive = false;
  desktop.applicationLauncher.active = [&isActive] {
    return isActive ? "org.vantrel.Vantrel" : "";
  };
  openPrefs();
  openPrefs();
  EXPECT_EQ(desktop.applicationLauncher.launched.size(), 2U);
  EXPECT_EQ(threads.names(), std::vector<std::string>{"openPrefs"});
  isActive = true;
  threads.run("openPrefs");
  EXPECT_EQ(desktop.distributedNotificationCenter.posted.size(), 1U);
  EXPECT_EQ(done, 2);
}

TEST_F(MainApplicationTest, IsWaitedForAnewAfterAWaitHasEnded) {
  bool isActive = false;
  desktop.applicationLauncher.active = [&isActive] {
    return isActive ? "org.vantrel.Vantrel" : "";
  };
  for (std::size_t time = 1; time <= 2; ++time) {
    isActive = false;
    openPrefs();
    isActive = true;
    threads.run("openPrefs");
    EXPECT_EQ(desktop.distributedNotificationCenter.posted.size(), time);
  }
}

TEST_F(MainApplicationTest, IsBeepedForWhenItCannotBeLaunched) {
  desktop.applicationLauncher.accepts = false;
  openPrefs();
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_EQ(done, 1);
  EXPECT_TRUE(desktop.distributedNotificationCenter.posted.empty());
  EXPECT_TRUE(threads.names().empty());
}

TEST_F(MainApplicationTest, IsBeepedForAndNotWaitedForAnyMoreWhenTheDesktopRefusesInTheEnd) {
  openPrefs();
  EXPECT_EQ(desktop.application.beeps, 0);
  desktop.applicationLauncher.failed = true;
  threads.run("openPrefs");
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_EQ(done, 1);
  EXPECT_TRUE(desktop.distributedNotificationCenter.posted.empty());
}

}  // namespace
}  // namespace quillo
