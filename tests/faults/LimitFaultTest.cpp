// The real agent at the limits of what a process may have.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/faults/support/ProcessFacts.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

class AgentAtItsLimit : public testing::Test {
 protected:
  AgentAtItsLimit() {
    home.startAndAwaitWatching();
    home.logHas("Scanned (status 0): " + home.guarded("sentinel"));
  }
  void expectGoesOn() {
    EXPECT_TRUE(home.isRunning());
    EXPECT_TRUE(home.logHas(home.saveInfected("after.com") + found));
    EXPECT_EQ(home.stop(), 0);
  }

  GuardedHome home;
};

// The sanitizer needs descriptors to look at an exception.
#if !defined(__SANITIZE_ADDRESS__)
TEST_F(AgentAtItsLimit, OfDescriptorsSaysWhatItDidNotScanAndGoesOn) {
  {
    const Limit none(home.agent(), RLIMIT_NOFILE, 3);
    const std::string file = home.saveInfected("held.com");
    EXPECT_TRUE(home.logHas("Stable: " + file));
    EXPECT_TRUE(home.logHas("Too many open files"));
  }
  expectGoesOn();
}
#endif

TEST_F(AgentAtItsLimit, OfProcessesSaysWhatItDidNotScanAndGoesOn) {
  {
    const Limit none(home.agent(), RLIMIT_NPROC, 1);
    const std::string file = home.saveInfected("held.com");
    EXPECT_TRUE(home.logHas("Stable: " + file));
    EXPECT_TRUE(home.logHas("Resource temporarily unavailable"));
  }
  expectGoesOn();
}

// The sanitizer ends a process that may not map more.
#if !defined(__SANITIZE_ADDRESS__)
TEST_F(AgentAtItsLimit, OfMemoryGoesOn) {
  {
    const Limit none(home.agent(), RLIMIT_AS, 1 << 20);
    for (int number = 0; number < 300; ++number) {
      home.save("file" + std::to_string(number), "clean");
    }
  }
  expectGoesOn();
}
#endif

}  // namespace
}  // namespace quillo::tests
