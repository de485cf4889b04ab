// The real agent when its scan log is taken away from it.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/faults/support/FullDisk.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/agent/SmallDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;
const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";
constexpr char quarantine[] =
    "QuilloQuarantineFiles = true\nQuarantineFolder = \"~/Quarantine/\"\n";

// Where lines go that the log does not take.
std::string output() { return readFile("/tmp/guarded/output"); }

void startWithoutLog(GuardedHome& home) {
  home.start();
  EXPECT_TRUE(awaitThat([&] {
    home.save("sentinel", "sentinel");
    return output().find("Noticed: ") != std::string::npos;
  })) << output();
}

bool movesWhatItFinds(const GuardedHome& home, const std::string& name) {
  const std::string moved = home.home() + "/Quarantine/" + name;
  home.saveInfected(name);
  return awaitThat([&] { return fs::exists(moved); });
}

TEST(FaultyLog, ThatIsDeletedIsThereAgainWhenWatchingBeginsAgain) {
  SmallDesktop desktop;
  GuardedHome home(quarantine);
  home.setDesktop(desktop.environment());
  home.startAndAwaitWatching();
  fs::remove(home.log());
  EXPECT_TRUE(movesWhatItFinds(home, "meanwhile.com"));
  ASSERT_TRUE(desktop.choose("Restart Watching"));
  EXPECT_TRUE(home.logHas("Folders to guard: "));
  home.awaitWatching("again");
  home.saveInfected("after.com");
  EXPECT_TRUE(home.logHas(home.guarded("after.com") + found));
}

TEST(FaultyLog, InWhosePlaceIsAFolderIsDoneWithout) {
  GuardedHome home(quarantine);
  fs::create_directory(home.log());
  startWithoutLog(home);
  EXPECT_TRUE(movesWhatItFinds(home, "bad.com"));
  EXPECT_EQ(home.stop(), 0);
}

TEST(FaultyLog, InWhosePlaceIsAPipeWithoutAReaderHoldsNobodyUp) {
  GuardedHome home(quarantine);
  check(mkfifo(home.log().c_str(), 0600), "mkfifo");
  check(chown(home.log().c_str(), GuardedHome::user, GuardedHome::user), "chown");
  startWithoutLog(home);
  EXPECT_TRUE(movesWhatItFinds(home, "bad.com"));
  EXPECT_NE(output().find("cannot be opened: it is a pipe"), std::string::npos) << output();
  EXPECT_EQ(home.stop(), 0);
}

TEST(FaultyLog, OnAFullDiskHoldsNobodyUpAndGoesOnWhenThereIsRoom) {
  GuardedHome home(quarantine);
  const SmallDisk logs(home.home() + "/Library/Logs", "size=64k");
  home.startAndAwaitWatching();
  logs.fill();
  EXPECT_TRUE(movesWhatItFinds(home, "meanwhile.com"));
  logs.makeRoom();
  EXPECT_TRUE(home.logHas(home.saveInfected("after.com") + found));
}

TEST(FaultyLog, OnADiskThatHoldsNoMoreFilesIsDoneWithout) {
  GuardedHome home(quarantine);
  const SmallDisk logs(home.home() + "/Library/Logs", "nr_inodes=8");
  logs.useUpFiles();
  startWithoutLog(home);
  EXPECT_TRUE(movesWhatItFinds(home, "bad.com"));
  EXPECT_NE(output().find("cannot be opened: No space left on device"), std::string::npos);
}

}  // namespace
}  // namespace quillo::tests
