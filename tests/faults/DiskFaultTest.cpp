// The real agent when a disk takes no more bytes or no more files, or nothing at all.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
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

class FullQuarantine : public testing::Test {
 protected:
  void expectTheFileStaysUntilThereIsRoom(const SmallDisk& disk) {
    const std::string file = home.saveInfected("bad.com");
    EXPECT_TRUE(home.logHas(file + found));
    EXPECT_TRUE(home.logHas("Scanned (status 1): " + file));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(home.logHas(file + ": not moved: no space left on device"));
    disk.makeRoom();
    home.saveInfected("after.com");
    EXPECT_TRUE(awaitThat([&] { return fs::exists(disk.path() + "/after.com"); }));
  }

  GuardedHome home{quarantine};
};

TEST_F(FullQuarantine, OfBytesLeavesTheFileInItsPlaceAndSaysSo) {
  const SmallDisk disk(home.home() + "/Quarantine", "size=64k");
  home.startAndAwaitWatching();
  disk.fill();
  expectTheFileStaysUntilThereIsRoom(disk);
}

TEST_F(FullQuarantine, OfFilesLeavesTheFileInItsPlaceAndSaysSo) {
  const SmallDisk disk(home.home() + "/Quarantine", "nr_inodes=16");
  home.startAndAwaitWatching();
  disk.useUpFiles();
  expectTheFileStaysUntilThereIsRoom(disk);
}

TEST(FullTmp, OfFilesHoldsNoScanUp) {
  makeFolder("/tmp/guarded");
  mountTmpfs("/tmp/guarded", "mode=0755");
  GuardedHome home;
  home.startAndAwaitWatching();
  struct statvfs status = {};
  check(statvfs("/tmp", &status), "statvfs");
  const std::string files = std::to_string(status.f_files - status.f_ffree);
  check(mount(nullptr, "/tmp", nullptr, MS_REMOUNT, ("nr_inodes=" + files).c_str()), "remount");
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_TRUE(home.logHas("cannot be made: No space left on device"));
}

TEST(ReadOnlyHome, IsGuardedAllTheSame) {
  SmallDesktop desktop;
  GuardedHome home(quarantine);
  home.setDesktop(desktop.environment());
  // What is watched lies elsewhere, or nothing could be saved.
  makeFolder("/tmp/elsewhere", 0777);
  home.watchInstead("/tmp/elsewhere");
  home.start();
  home.awaitWatching("/tmp/elsewhere/first");
  ASSERT_EQ(home.stop(), 0);
  check(mount(home.home().c_str(), home.home().c_str(), nullptr, MS_BIND, nullptr), "bind");
  check(mount(nullptr, home.home().c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
        "remount");
  home.start();
  EXPECT_TRUE(awaitThat([&] {
    home.save("/tmp/elsewhere/sentinel", "sentinel");
    return readFile("/tmp/guarded/output").find("Noticed: ") != std::string::npos;
  })) << readFile("/tmp/guarded/output");
  home.saveInfected("/tmp/elsewhere/bad.com");
  EXPECT_TRUE(desktop.awaitNotification("It is still there: read-only file system"));
  EXPECT_EQ(home.stop(), 0);
  umount2(home.home().c_str(), MNT_DETACH);
  fs::remove_all("/tmp/elsewhere");
}

}  // namespace
}  // namespace quillo::tests
