#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>

#include "tests/root/support/helper/HelperFixture.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

using GfsloggerMounts = HelperFixture;

void bindMount(const std::string& from, const std::string& to) {
  check(mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr), "binding " + to);
}

// The helper may hold a folder for as long as it looks something up there, and no longer.
bool canBeUnmounted(const std::string& point) {
  int outcome = -1;
  awaitThat([&] {
    outcome = umount(point.c_str());
    return outcome == 0 || errno != EBUSY;
  });
  return outcome == 0;
}

void openToAll(const std::string& folder) { check(chmod(folder.c_str(), 0777), folder); }

TEST_F(GfsloggerMounts, WatchesWhatIsMountedWhileItRuns) {
  makeFolder(in("later"));
  start();
  mountTmpfs(in("later"));
  EXPECT_TRUE(waitUntilWatched(in("later")));
}

TEST_F(GfsloggerMounts, WatchesAMountPointWhoseNameNeedsEscapes) {
  const std::string point = in("my stick\t\\040 \xc3\xa9");
  makeFolder(point);
  start();
  mountTmpfs(point);
  EXPECT_TRUE(waitUntilWatched(point));
}

TEST_F(GfsloggerMounts, WatchesTheSameDeviceMountedAgain) {
  makeFolder(in("stick"));
  start();
  for (int time = 0; time < 3; ++time) {
    const LoopMount stick("ext4", in("stick"));
    openToAll(in("stick"));
    EXPECT_TRUE(waitUntilWatched(in("stick")));
  }
}

TEST_F(GfsloggerMounts, LeavesAWatchedFileSystemFreeToBeUnmounted) {
  makeFolder(in("stick"));
  start();
  mountTmpfs(in("stick"));
  ASSERT_TRUE(waitUntilWatched(in("stick")));
  ASSERT_TRUE(catchUp());
  EXPECT_TRUE(canBeUnmounted(in("stick")));
}

TEST_F(GfsloggerMounts, LeavesAFileSystemFreeToBeUnmountedWhileItsReaderStandsStill) {
  makeFolder(in("stick"));
  start();
  mountTmpfs(in("stick"));
  ASSERT_TRUE(waitUntilWatched(in("stick")));
  // More than the pipe holds, in a folder that the helper has to look for.
  makeFolder(in("stick/sub"));
  const std::string name(200, 'n');
  for (int number = 0; number < 2000; ++number) {
    writeFile(in("stick/sub/") + name + std::to_string(number));
  }
  EXPECT_TRUE(output().waitFor(in("stick/sub/") + name + "0"));
  EXPECT_TRUE(canBeUnmounted(in("stick")));
}

TEST_F(GfsloggerMounts, WatchesAReadOnlyFileSystemOnceItIsWritable) {
  makeFolder(in("later"));
  mountTmpfs(in("later"), "ro,mode=1777");
  start();
  check(mount(nullptr, in("later").c_str(), nullptr, MS_REMOUNT, "mode=1777"), "remount");
  EXPECT_TRUE(waitUntilWatched(in("later")));
}

TEST_F(GfsloggerMounts, ReportsAFileUnderEachMountPointThatShowsIt) {
  makeFolder(in("real"));
  makeFolder(in("real/sub"));
  makeFolder(in("bound"));
  bindMount(in("real"), in("bound"));
  start();
  writeFile(in("real/sub/file"));
  EXPECT_TRUE(output().waitFor(in("real/sub/file")));
  EXPECT_TRUE(output().waitFor(in("bound/sub/file")));
}

TEST_F(GfsloggerMounts, ReportsAFileUnderAMountPointThatShowsItOnlyLater) {
  makeFolder(in("real"), 0777);
  makeFolder(in("bound"));
  start();
  ASSERT_TRUE(catchUp(in("real")));
  bindMount(in("real"), in("bound"));
  EXPECT_TRUE(waitUntilWatched(in("bound")));
}

TEST_F(GfsloggerMounts, ReportsAFileWhereItIsSeenIfAnotherMountCoversIt) {
  makeFolder(in("real"));
  makeFolder(in("bound"));
  bindMount(in("real"), in("bound"));
  mountTmpfs(in("real"));
  start();
  writeFile(in("bound/file"));
  EXPECT_TRUE(output().waitFor(in("bound/file")));
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(in("real/file")));
}

TEST_F(GfsloggerMounts, ReportsAFileOfAFileSystemOfWhichOnlyAFolderIsMounted) {
  makeFolder(in("whole"));
  makeFolder(in("part"));
  mountTmpfs(in("whole"));
  makeFolder(in("whole/a"));
  makeFolder(in("whole/a/b"), 0777);
  makeFolder(in("whole/c"));
  bindMount(in("whole/a"), in("part"));
  check(umount2(in("whole").c_str(), MNT_DETACH), "umount");
  start();
  EXPECT_TRUE(waitUntilWatched(in("part/b")));
}

class GfsloggerFileSystems : public HelperFixture,
                             public testing::WithParamInterface<const char*> {};

TEST_P(GfsloggerFileSystems, ReportsFilesOnIt) {
  makeFolder(in("disk"));
  const LoopMount disk(GetParam(), in("disk"));
  openToAll(in("disk"));
  start();
  ASSERT_TRUE(waitUntilWatched(in("disk")));
  makeFolder(in("disk/one"));
  makeFolder(in("disk/one/two"));
  writeFile(in("disk/one/two/file"));
  EXPECT_TRUE(output().waitFor(in("disk/one/two/file")));
  moveFile(in("disk/one"), in("disk/moved"));
  EXPECT_TRUE(output().waitFor(in("disk/moved/two/file")));
}

INSTANTIATE_TEST_SUITE_P(All, GfsloggerFileSystems,
                         testing::Values("ext2", "ext4", "xfs", "btrfs"));

class GfsloggerSubvolumes : public HelperFixture {
 protected:
  // As several distributions lay it out: the top level is mounted nowhere.
  GfsloggerSubvolumes() {
    makeFolder(in("top"));
    makeFolder(in("system"));
    const LoopMount top("btrfs", in("top"));
    runProgram({"btrfs", "subvolume", "create", in("top/@")});
    runProgram({"btrfs", "subvolume", "create", in("top/@home")});
    openToAll(in("top/@"));
    openToAll(in("top/@home"));
    makeFolder(in("top/@/home"));
    mountSubvolume(top.device(), "@", in("system"));
    mountSubvolume(top.device(), "@home", in("system/home"));
  }

  static void mountSubvolume(const std::string& device, const std::string& name,
                             const std::string& point) {
    const std::string which = "subvol=" + name;
    check(mount(device.c_str(), point.c_str(), "btrfs", 0, which.c_str()), "mounting " + point);
  }
};

TEST_F(GfsloggerSubvolumes, ReportsFilesOfEachWhereItIsMounted) {
  start();
  EXPECT_TRUE(waitUntilWatched(in("system")));
  makeFolder(in("system/home/user"));
  writeFile(in("system/home/user/file"));
  EXPECT_TRUE(output().waitFor(in("system/home/user/file")));
  EXPECT_FALSE(output().contains(in("system/@home/user/file")));
}

TEST_F(GfsloggerSubvolumes, ReportsMoreThanWritingThere) {
  writeFile(in("system/home/old"));
  start();
  moveFile(in("system/home/old"), in("system/home/new"));
  EXPECT_TRUE(output().waitFor(in("system/home/new")));
  check(link(in("system/home/new").c_str(), in("system/home/link").c_str()), "link");
  EXPECT_TRUE(output().waitFor(in("system/home/link")));
}

TEST_F(GfsloggerSubvolumes, ReportsFilesOfOneThatIsMadeInsideAnother) {
  start();
  runProgram({"btrfs", "subvolume", "create", in("system/home/inner")});
  writeFile(in("system/home/inner/file"));
  EXPECT_TRUE(output().waitFor(in("system/home/inner/file")));
}

TEST_F(GfsloggerSubvolumes, ReportsFilesOfEachIfTheRootFolderIsOneToo) {
  const std::string root = in("system");
  for (const char* name : {"/usr", "/lib", "/lib64", "/dev", "/proc"}) {
    makeFolder(root + name);
    check(mount(name, (root + name).c_str(), nullptr, MS_BIND | MS_REC, nullptr), name);
  }
  runProgram({"cp", "--preserve=mode", program(), root + "/gfslogger"});
  StandInAgent::Options how = options();
  how.program = "/gfslogger";
  how.root = root;
  start(how, root);
  makeFolder(root + "/home/user");
  writeFile(root + "/home/user/file");
  EXPECT_TRUE(output().waitFor("/home/user/file"));
  writeFile(root + "/home/file");
  EXPECT_TRUE(output().waitFor("/home/file"));
  writeFile(root + "/file");
  EXPECT_TRUE(output().waitFor("/file"));
}

// The right to open its top level is there only where a btrfs is mounted when it starts.
TEST_F(GfsloggerMounts, IsStartedAnewForTheFirstSubvolume) {
  const bool hadBtrfs = readFile("/proc/self/mountinfo").find(" - btrfs ") != std::string::npos;
  const std::string image = in("image");
  runProgram({"truncate", "--size=256M", image});
  runProgram({"mkfs.btrfs", "--quiet", image});
  makeFolder(in("stick"));
  runProgram({"mount", "-o", "loop", image, in("stick")});
  runProgram({"btrfs", "subvolume", "create", in("stick/@")});
  openToAll(in("stick/@"));
  check(umount(in("stick").c_str()), "umount");
  start();
  runProgram({"mount", "-o", "loop,subvol=@", image, in("stick")});
  if (!hadBtrfs) {
    ASSERT_TRUE(output().waitForEnd());
    const int ending = agent().reap().status;
    EXPECT_TRUE(WIFEXITED(ending) && WEXITSTATUS(ending) == 3);
    start();
  }
  ASSERT_TRUE(waitUntilWatched(in("stick")));
  writeFile(in("stick/old"));
  moveFile(in("stick/old"), in("stick/moved"));
  EXPECT_TRUE(output().waitFor(in("stick/moved")));
}

class GfsloggerOverlay : public HelperFixture {
 protected:
  GfsloggerOverlay() {
    for (const char* name : {"lower", "upper", "work", "merged"}) makeFolder(in(name), 0777);
    writeFile(in("lower/old"));
    const std::string folders =
        "lowerdir=" + in("lower") + ",upperdir=" + in("upper") + ",workdir=" + in("work");
    check(mount("overlay", in("merged").c_str(), "overlay", 0, folders.c_str()), "overlay");
  }
};

TEST_F(GfsloggerOverlay, ReportsAFileThatIsWritten) {
  start();
  EXPECT_TRUE(waitUntilWatched(in("merged")));
  makeFolder(in("merged/sub"));
  writeFile(in("merged/sub/file"));
  EXPECT_TRUE(output().waitFor(in("merged/sub/file")));
  writeFile(in("merged/old"));
  EXPECT_TRUE(output().waitFor(in("merged/old")));
}

TEST_F(GfsloggerOverlay, DoesNotReportAFolderThatTheCallerMayNotSee) {
  start();
  ASSERT_TRUE(waitUntilWatched(in("merged")));
  makeFolder(in("merged/private"), 0700);
  writeFile(in("merged/private/secret"));
  ASSERT_TRUE(catchUp(in("merged")));
  EXPECT_FALSE(output().contains(in("merged/private/secret")));
}

}  // namespace
}  // namespace quillo::tests
