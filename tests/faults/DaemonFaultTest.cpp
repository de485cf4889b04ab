// The real agent when its daemon fails.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/fakes/engine/SessionClamd.h"
#include "tests/faults/support/ProcessFacts.h"
#include "tests/faults/support/StrangersListener.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

class FaultyDaemon : public testing::Test {
 protected:
  FaultyDaemon() { home.startAndAwaitWatching(); }
  void endDaemon() {
    const pid_t daemon = home.daemon();
    ASSERT_EQ(kill(daemon, SIGKILL), 0);
    ASSERT_TRUE(awaitThat([&] { return home.daemon() != daemon; }));
  }
  void awaitIdle() { ASSERT_TRUE(home.logHas("Scanned (status 0): " + home.guarded("sentinel"))); }

  GuardedHome home;
};

TEST_F(FaultyDaemon, ThatIsStoppedAndGoesOnHasScannedEverything) {
  awaitIdle();
  const pid_t daemon = home.daemon();
  ASSERT_EQ(kill(daemon, SIGSTOP), 0);
  const std::string first = home.saveInfected("first.com");
  ASSERT_TRUE(home.logHas("Scanning: " + first));
  const std::string second = home.saveInfected("second.com");
  ASSERT_TRUE(home.logHas("Stable: " + second));
  ASSERT_EQ(kill(daemon, SIGCONT), 0);
  EXPECT_TRUE(home.logHas(first + found));
  EXPECT_TRUE(home.logHas(second + found));
  EXPECT_EQ(home.daemon(), daemon);
}

TEST_F(FaultyDaemon, ThatIsOutOfDescriptorsLosesNoFile) {
  awaitIdle();
  std::string file;
  {
    const Limit none(home.daemon(), RLIMIT_NOFILE, 4);
    file = home.saveInfected("bad.com");
    EXPECT_TRUE(home.logHas("Scanning: " + file));
  }
  EXPECT_TRUE(home.logHas(file + found));
}

TEST_F(FaultyDaemon, WhoseSocketIsRemovedIsReplaced) {
  awaitIdle();
  std::filesystem::remove(home.socket());
  const std::string file = home.saveInfected("bad.com");
  EXPECT_TRUE(home.logHas(file + found));
}

TEST_F(FaultyDaemon, InWhosePlaceAStrangerListensIsReplacedAndTheStrangerGetsNothing) {
  awaitIdle();
  endDaemon();
  const StrangersListener stranger(home.socket());
  const std::string file = home.saveInfected("bad.com");
  EXPECT_TRUE(home.logHas(file + found));
  EXPECT_FALSE(stranger.gotAnything());
}

TEST_F(FaultyDaemon, ThatAnswersGarbageCallsNoFileClean) {
  awaitIdle();
  endDaemon();
  const std::string file = home.guarded("bad.com");
  {
    SessionClamd garbage(home.socket(), [](const SessionClamd::Question&) {
      return std::optional<std::string>("\xFF garbage: OK: OK\n\0OK");
    });
    check(chmod(home.socket().c_str(), 0777), "chmod");
    home.saveInfected("bad.com");
    EXPECT_TRUE(home.logHas(file + ": Not scanned: "));
    EXPECT_EQ(home.linesWith(file + ": OK"), 0);
  }
  EXPECT_TRUE(home.logHas(home.saveInfected("after.com") + found));
}

}  // namespace
}  // namespace quillo::tests
