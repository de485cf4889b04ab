// The real agent when the engine's scanner, clamdscan, fails. The agent's memory and the next file
// are what counts.

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "tests/faults/support/ProcessFacts.h"
#include "tests/faults/support/ReplacedProgram.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

constexpr long muchMemory = 64L << 10;  // KiB

class FaultyScanner : public testing::Test {
 protected:
  FaultyScanner() {
    home.startAndAwaitWatching();
    home.logHas("Scanned (status 0): " + home.guarded("sentinel"));
  }
  std::string scanner() const { return home.tree() + "/bin/clamdscan"; }
  // What a script does once it has done what it was to do.
  static std::string done() { return "\n: > /tmp/guarded/home/done"; }
  bool awaitDone() const {
    return FolderWatch(home.home()).awaitThat([this] { return fs::exists(home.home() + "/done"); });
  }
  // Without a look into a log that may be large.
  void expectMovesWhatItFinds() {
    const std::string moved = home.home() + "/Quarantine/after.com";
    home.saveInfected("after.com");
    EXPECT_TRUE(awaitThat([&] { return fs::exists(moved); }));
  }

  GuardedHome home{"QuilloQuarantineFiles = true\nQuarantineFolder = \"~/Quarantine/\"\n"};
};

TEST_F(FaultyScanner, ThatIsKilledHasItsFilesScannedAgain) {
  const pid_t daemon = home.daemon();
  ASSERT_EQ(kill(daemon, SIGSTOP), 0);
  const std::string file = home.saveInfected("held.com");
  ASSERT_TRUE(home.logHas("Scanning: " + file));
  // The log names the files before the scanner is launched.
  pid_t scanner = -1;
  ASSERT_TRUE(awaitThat([&] { return (scanner = home.child("clamdscan")) > 0; }));
  ASSERT_EQ(kill(scanner, SIGKILL), 0);
  ASSERT_EQ(kill(daemon, SIGCONT), 0);
  EXPECT_TRUE(home.logHas(file + ": Not scanned: the scanner ended with status 9"));
  EXPECT_TRUE(home.logHas(file + ": moved to "));
}

TEST_F(FaultyScanner, ThatEndsWithoutAWordHasItsFilesScannedAgain) {
  const ReplacedProgram silent(scanner(),
                               "mkdir /tmp/guarded/home/silent && exit 2\nexec \"$0.real\" \"$@\"");
  const std::string file = home.saveInfected("held.com");
  EXPECT_TRUE(home.logHas(file + ": Not scanned: the scanner said nothing of it"));
  EXPECT_TRUE(home.logHas(file + ": moved to "));
}

TEST_F(FaultyScanner, ThatHangsForEverLeavesTheOtherScannerAtWork) {
  const ReplacedProgram hanging(
      scanner(),
      "mkdir /tmp/guarded/home/hanging && exec tail -f /dev/null\nexec \"$0.real\" \"$@\"");
  const std::string held = home.saveInfected("held.com");
  ASSERT_TRUE(home.logHas("Scanning: " + held));
  ASSERT_TRUE(awaitThat([&] { return fs::exists(home.home() + "/hanging"); }));
  expectMovesWhatItFinds();
  EXPECT_TRUE(fs::exists(held));
}

TEST_F(FaultyScanner, ThatPrintsAHundredMegabytesCostsNoMemory) {
#if defined(__SANITIZE_ADDRESS__)
  // It makes the agent read many times as slowly.
  const std::string bytes = "20000000";
#else
  const std::string bytes = "100000000";
#endif
  const long before = peakMemory(home.agent());
  {
    const ReplacedProgram talkative(
        scanner(), "yes \"$(head -c 4000 /dev/zero | tr '\\0' x)\" | head -c " + bytes + done());
    home.save("clean.txt", "clean");
    ASSERT_TRUE(awaitDone());
  }
  expectMovesWhatItFinds();
  EXPECT_LT(peakMemory(home.agent()) - before, tolerated(muchMemory));
}

TEST_F(FaultyScanner, ThatPrintsWhatIsNoTextIsReadToItsEnd) {
  {
    const ReplacedProgram binary(scanner(), "head -c 5000000 /dev/urandom" + done());
    home.save("clean.txt", "clean");
    ASSERT_TRUE(awaitDone());
  }
  expectMovesWhatItFinds();
}

TEST_F(FaultyScanner, ThatPrintsOneEndlessLineCostsNoMemory) {
  const long before = peakMemory(home.agent());
  {
    const ReplacedProgram endless(scanner(), "head -c 20000000 /dev/zero | tr '\\0' x" + done());
    home.save("clean.txt", "clean");
    ASSERT_TRUE(awaitDone());
  }
  expectMovesWhatItFinds();
  EXPECT_LT(peakMemory(home.agent()) - before, tolerated(muchMemory));
}

TEST_F(FaultyScanner, WhoseGrandchildHoldsThePipeIsNotWaitedFor) {
  const std::string file = home.guarded("clean.txt");
  {
    const ReplacedProgram forking(scanner(), "tail -f /dev/null &\necho said" + done());
    home.save("clean.txt", "clean");
    ASSERT_TRUE(home.logHas("Scanned (status 0): " + file));
  }
  expectMovesWhatItFinds();
}

}  // namespace
}  // namespace quillo::tests
