// The real agent when parts of its desktop go and come back.

#include <gtest/gtest.h>
#include <signal.h>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/agent/SmallDesktop.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

class FaultyDesktop : public testing::Test {
 protected:
  FaultyDesktop() {
    home.setDesktop(desktop.environment());
    home.startAndAwaitWatching();
  }

  SmallDesktop desktop;
  GuardedHome home;
};

TEST_F(FaultyDesktop, WhoseSessionBusEndsIsGuardedAllTheSame) {
  desktop.endBus();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_TRUE(home.isRunning());
  EXPECT_EQ(home.stop(), 0);
}

// A session bus has no life after its end (dbus-daemon(1)): programs of that session stay without.
TEST_F(FaultyDesktop, WhoseSessionBusComesBackIsToldOfFindsByTheNextAgent) {
  desktop.endBus();
  EXPECT_TRUE(home.logHas(home.saveInfected("meanwhile.com") + found));
  desktop.startBusAgain();
  EXPECT_TRUE(home.logHas(home.saveInfected("back.com") + found));
  EXPECT_EQ(home.stop(), 0);
  home.start();
  home.awaitWatching("again");
  home.saveInfected("told.com");
  EXPECT_TRUE(desktop.awaitNotification("told.com")) << desktop.allNotifications();
}

// As every program with a window there. What it launched goes on and serves the next session.
TEST_F(FaultyDesktop, WhoseDisplayEndsIsGuardedAgainByTheNextSessionsAgent) {
  desktop.endScreen();
  EXPECT_EQ(home.awaitEnd(), 1);
  const pid_t daemon = home.daemon();
  home.setVariable("QT_QPA_PLATFORM=offscreen");
  home.start();
  home.awaitWatching("again");
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_EQ(home.daemon(), daemon);
}

}  // namespace
}  // namespace quillo::tests
