#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>

#include "posix/MountTable.h"
#include "posix/Text.h"
#include "tests/support/SystemCalls.h"

namespace quillo {
namespace {

Mount mountOf(std::string_view type, const std::string& source = "x") {
  return parseMountTable("30 1 0:9 / /mnt rw - " + std::string(type) + " " + source + " rw\n")
      .at(0);
}

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

TEST(MountTable, UndoesTheEscapesOfTheFolderThatIsMounted) {
  const auto mounts = parseMountTable("36 35 98:0 /my\\040home /m rw - btrfs /dev/sda1 rw\n");
  ASSERT_EQ(mounts.size(), 1U);
  EXPECT_EQ(mounts[0].root, "/my home");
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
  const auto types = split(
      "9p afs beegfs ceph cifs coda lustre ncpfs nfs nfs4 orangefs prl_fs pvfs2 smb3 smbfs vboxsf "
      "virtiofs fuse.ceph fuse.ceph-fuse fuse.curlftpfs fuse.davfs fuse.davfs2 fuse.gcsfuse "
      "fuse.glusterfs fuse.goofys fuse.juicefs fuse.rclone fuse.s3fs fuse.smbnetfs fuse.sshfs "
      "fuse.vmhgfs-fuse",
      ' ');
  for (const std::string_view type : types) {
    EXPECT_TRUE(isNetwork(mountOf(type))) << type;
    EXPECT_FALSE(isPseudo(mountOf(type))) << type;
  }
  EXPECT_TRUE(isNetwork(mountOf("fuse", "https://cloud.example/files")));
  EXPECT_FALSE(isNetwork(mountOf("fuse.encfs")));
  EXPECT_FALSE(isNetwork(mountOf("ext4")));
}

TEST(MountTable, KnowsWhichFilesAreTheKernelsOwn) {
  const auto types = split(
      "autofs binfmt_misc bpf cgroup cgroup2 configfs debugfs devpts devtmpfs efivarfs fusectl "
      "hugetlbfs mqueue nsfs pipefs proc pstore resctrl rpc_pipefs securityfs selinuxfs smackfs "
      "sockfs sysfs tracefs fuse.gvfsd-fuse fuse.lxcfs fuse.portal",
      ' ');
  for (const std::string_view type : types) {
    EXPECT_TRUE(isPseudo(mountOf(type))) << type;
    EXPECT_FALSE(isNetwork(mountOf(type))) << type;
  }
  EXPECT_FALSE(isPseudo(mountOf("tmpfs")));
  EXPECT_FALSE(isPseudo(mountOf("fuse.encfs")));
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
