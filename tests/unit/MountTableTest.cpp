#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>

#include "posix/MountTable.h"
#include "tests/support/SystemCalls.h"

namespace quillo {
namespace {

TEST(MountTable, ReadsAllThatALineSays) {
  const auto mounts = parseMountTable(
      "89 87 0:43 /@home /home rw,relatime shared:7 master:1 - btrfs /dev/vda2 "
      "rw,subvolid=257,subvol=/@home\n");
  ASSERT_EQ(mounts.size(), 1U);
  EXPECT_EQ(mounts[0].id, 89);
  EXPECT_EQ(mounts[0].device, makedev(0, 43));
  EXPECT_EQ(mounts[0].root, "/@home");
  EXPECT_EQ(mounts[0].point, "/home");
  EXPECT_EQ(mounts[0].type, "btrfs");
  EXPECT_EQ(mounts[0].source, "/dev/vda2");
  EXPECT_EQ(mounts[0].superOptions, "rw,subvolid=257,subvol=/@home");
  EXPECT_FALSE(mounts[0].readOnly);
}

TEST(MountTable, UndoesOctalEscapes) {
  const auto mounts =
      parseMountTable("1 1 8:1 / /media/my\\040stick\\011\\012\\134x\\1 rw - ext4 /dev/sda1 rw\n");
  ASSERT_EQ(mounts.size(), 1U);
  EXPECT_EQ(mounts[0].point, "/media/my stick\t\n\\x\\1");
}

TEST(MountTable, UndoesTheEscapesOfASource) {
  const auto mounts = parseMountTable("36 35 98:0 /mnt1 /m rw - ext3 /dev/r\\040oot rw\n");
  ASSERT_EQ(mounts.size(), 1U);
  EXPECT_EQ(mounts[0].root, "/mnt1");
  EXPECT_EQ(mounts[0].source, "/dev/r oot");
}

TEST(MountTable, LeavesOutWhatIsNoMount) {
  EXPECT_TRUE(parseMountTable("").empty());
  EXPECT_TRUE(parseMountTable("\n\nnonsense\n1 2\n1 2 3:4\n1 2 x:y / / rw - t s o\n").empty());
  EXPECT_TRUE(parseMountTable("1 2 3:4 / / rw shared:1\n").empty());
  EXPECT_EQ(parseMountTable("x\n1 1 8:1 / / rw - ext4 s rw\nx\n").size(), 1U);
}

TEST(MountTable, SeesReadOnlyMountsAndReadOnlyFileSystems) {
  EXPECT_TRUE(parseMountTable("1 1 8:1 / / ro,nosuid - ext4 s rw\n")[0].readOnly);
  EXPECT_TRUE(parseMountTable("1 1 8:1 / / rw,nosuid - ext4 s ro,errors=remount-ro\n")[0].readOnly);
  EXPECT_FALSE(
      parseMountTable("1 1 8:1 / / rw,nosuid - ext4 s rw,errors=remount-ro\n")[0].readOnly);
}

TEST(MountTable, KnowsWhichFilesLieElsewhere) {
  const auto one = [](const std::string& type, const std::string& source) {
    return parseMountTable("30 1 0:9 / /mnt rw - " + type + " " + source + " rw\n").at(0);
  };
  for (const char* type : {"nfs4", "cifs", "9p", "ceph", "lustre", "fuse.sshfs"}) {
    EXPECT_TRUE(isNetwork(one(type, "x"))) << type;
  }
  EXPECT_TRUE(isNetwork(one("fuse", "https://cloud.example/files")));
  EXPECT_FALSE(isNetwork(one("fuse.encfs", "x")));
  EXPECT_FALSE(isNetwork(one("ext4", "x")));
}

TEST(MountTable, TakesAMountForTheSameAfterItWasMountedAgainInAnotherWay) {
  const auto before = parseMountTable("30 1 8:1 / /mnt ro - ext4 d ro\n");
  EXPECT_EQ(parseMountTable("30 1 8:1 / /mnt rw - ext4 d rw\n"), before);
  EXPECT_NE(parseMountTable("31 1 8:1 / /mnt ro - ext4 d ro\n"), before);
}

TEST(MountTable, ReadsTheKernelsOwnTable) {
  const MountTable table;
  ASSERT_GE(table.descriptor(), 0);
  EXPECT_FALSE(table.hasChanged());
  const auto mounts = table.read();
  ASSERT_TRUE(mounts);
  EXPECT_TRUE(std::any_of(mounts->begin(), mounts->end(),
                          [](const Mount& mount) { return mount.point == "/proc"; }));
  EXPECT_EQ(table.read(), mounts);
}

TEST(MountTable, IsNotTakenForEmptyWhenItCannotBeRead) {
  const MountTable table;
  withFailingSystemCall(SYS_read, ENOMEM, [&] { EXPECT_EQ(table.read(), std::nullopt); });
  withInterruptedSystemCall(SYS_read, 3, [&] { EXPECT_TRUE(table.read()); });
}

}  // namespace
}  // namespace quillo
