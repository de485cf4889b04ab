// The real agent when a watched folder goes, changes or hangs.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/faults/support/HangingMount.h"
#include "tests/faults/support/ProcessFacts.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;
const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

// The home's Downloads are watched, and this folder.
class FaultyFolder : public testing::Test {
 protected:
  FaultyFolder() {
    makeUsersFolder(mount());
    makeUsersFolder(other());
  }
  ~FaultyFolder() override { umount2(other().c_str(), MNT_DETACH); }
  void makeUsersFolder(const std::string& path) const {
    makeFolder(path, 0755);
    check(chown(path.c_str(), GuardedHome::user, GuardedHome::user), "chown");
  }
  std::string mount() const { return home.home() + "/mnt"; }
  std::string other(const std::string& name = "") const {
    return home.home() + "/mnt/other" + (name.empty() ? "" : "/" + name);
  }
  void start() {
    home.startAndAwaitWatching();
    home.awaitWatching(other("sentinel"));
    ASSERT_TRUE(home.logHas(other("sentinel") + ": OK"));
  }
  void expectGuardsTheRest() {
    EXPECT_TRUE(home.logHas(home.saveInfected("after.com") + found));
    EXPECT_TRUE(home.isRunning());
  }

  GuardedHome home{
      "[[QuilloFolderArray]]\npathName = \"/tmp/guarded/home/mnt/other\"\nWatchSubdirs = true\n"};
};

TEST_F(FaultyFolder, ThatIsDeletedAndMadeAgainIsGuardedAgain) {
  start();
  fs::remove_all(other());
  expectGuardsTheRest();
  makeUsersFolder(other());
  EXPECT_TRUE(home.logHas(home.saveInfected(other("bad.com")) + found));
}

TEST_F(FaultyFolder, ThatIsReplacedByALinkIsGuardedWhereTheLinkLeads) {
  start();
  fs::rename(other(), mount() + "/elsewhere");
  fs::create_directory_symlink("elsewhere", other());
  home.saveInfected(other("linked.com"));
  expectGuardsTheRest();
  EXPECT_TRUE(home.logHas(mount() + "/elsewhere/linked.com" + found));
}

TEST_F(FaultyFolder, ThatNobodyMayEnterAnyMoreLosesNothingElse) {
  start();
  const std::string file = home.save(other("growing"), "x");
  ASSERT_TRUE(home.logHas("Noticed: " + file));
  check(chmod(other().c_str(), 0), "chmod");
  expectGuardsTheRest();
  check(chmod(other().c_str(), 0755), "chmod");
  EXPECT_TRUE(home.logHas(home.saveInfected(other("bad.com")) + found));
}

TEST_F(FaultyFolder, WhoseVolumeIsPulledOutInTheMiddleOfARunLosesNothingElse) {
  mountTmpfs(other(), "mode=0777");
  start();
  const pid_t daemon = home.daemon();
  ASSERT_EQ(kill(daemon, SIGSTOP), 0);
  const std::string held = home.saveInfected(other("held.com"));
  ASSERT_TRUE(home.logHas("Scanning: " + held));
  ASSERT_TRUE(awaitThat([&] { return hasOpen(home.child("clamdscan"), held); }));
  const std::string waiting = home.saveInfected(other("waiting.com"));
  check(umount2(other().c_str(), MNT_DETACH), "umount");
  ASSERT_EQ(kill(daemon, SIGCONT), 0);
  EXPECT_TRUE(home.logHas(held + found));
  expectGuardsTheRest();
}

TEST_F(FaultyFolder, ThatIsUnmountedAndMountedAgainIsGuardedAgain) {
  mountTmpfs(other(), "mode=0777");
  start();
  // Nothing of the agent's keeps the file system from going.
  EXPECT_TRUE(awaitThat([&] { return umount(other().c_str()) == 0; }));
  expectGuardsTheRest();
  mountTmpfs(other(), "mode=0777");
  EXPECT_TRUE(awaitThat([&] {
    home.save(other("sentinel2"), "sentinel");
    return home.linesWith("Noticed: " + other("sentinel2")) > 0;
  }));
  EXPECT_TRUE(home.logHas(home.saveInfected(other("bad.com")) + found));
}

TEST_F(FaultyFolder, OnAMountThatHangsHoldsNothingElseUp) {
  start();
  const HangingMount hanging(mount());
  expectGuardsTheRest();
  EXPECT_EQ(home.stop(), 0);
}

TEST_F(FaultyFolder, OnAMountThatHangsFromTheStartHoldsNothingElseUp) {
  const HangingMount hanging(mount());
  home.startAndAwaitWatching();
  expectGuardsTheRest();
  EXPECT_TRUE(home.logHas("The folder " + other() + " does not answer"));
  EXPECT_EQ(home.stop(), 0);
}

}  // namespace
}  // namespace quillo::tests
