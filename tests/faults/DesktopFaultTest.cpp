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

TEST_F(FaultyDesktop, WhoseDisplayEndsEndsTheAgentWithItsDaemon) {
  desktop.endScreen();
  const int status = home.awaitEnd();
  std::fprintf(stderr, "STATUS %d\n%s", status, home.readLog().c_str());
  EXPECT_LT(home.daemon(), 0);
}

}  // namespace
}  // namespace quillo::tests
