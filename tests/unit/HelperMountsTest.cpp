#include <gtest/gtest.h>

#include <string>

#include "helper/Mounts.h"

namespace quillo::helper {
namespace {

Mount mountOfType(const std::string& type, const std::string& superOptions = "rw") {
  const auto mounts =
      parseMountTable("30 1 8:1 / /mnt rw,relatime - " + type + " source " + superOptions + "\n");
  return mounts.empty() ? Mount() : mounts[0];
}

Mount mountOfRoot(const std::string& root, const std::string& point) {
  Mount mount;
  mount.root = root;
  mount.point = point;
  return mount;
}

TEST(HelperMounts, WatchesLocalFileSystemsOnly) {
  for (const char* type : {"ext4", "xfs", "btrfs", "tmpfs", "vfat", "overlay", "ntfs3", "zfs"}) {
    EXPECT_TRUE(isWatchable(mountOfType(type), 1000)) << type;
  }
  for (const char* type : {"proc", "sysfs", "cgroup2", "devpts", "nfs4", "cifs", "9p", "ceph",
                           "fuse.sshfs", "fuse.portal", "autofs"}) {
    EXPECT_FALSE(isWatchable(mountOfType(type), 1000)) << type;
  }
  EXPECT_FALSE(isWatchable(mountOfType("ext4", "ro"), 1000));
}

TEST(HelperMounts, WatchesFuseOnlyOfRootAndOfTheCaller) {
  EXPECT_TRUE(isWatchable(mountOfType("fuseblk", "rw,user_id=0,group_id=0"), 1000));
  EXPECT_TRUE(isWatchable(mountOfType("fuse.encfs", "rw,user_id=1000,group_id=0"), 1000));
  EXPECT_FALSE(isWatchable(mountOfType("fuse.encfs", "rw,user_id=1001,group_id=0"), 1000));
  EXPECT_FALSE(isWatchable(mountOfType("fuse.encfs", "rw"), 1000));
}

TEST(HelperMounts, KnowsANetworkFileSystemByItsSource) {
  const auto mounts = parseMountTable(
      "30 1 0:9 / /mnt rw - fuse https://cloud.example/files rw,user_id=1000,group_id=0\n");
  ASSERT_EQ(mounts.size(), 1U);
  EXPECT_FALSE(isWatchable(mounts[0], 1000));
}

TEST(HelperMounts, TranslatesBetweenAMountAndItsFileSystem) {
  const Mount home = mountOfRoot("/@home", "/home");
  EXPECT_EQ(pathInFileSystem(home, "/home/user/x"), "/@home/user/x");
  EXPECT_EQ(pathInFileSystem(home, "/home"), "/@home");
  EXPECT_EQ(pathInFileSystem(home, "/homes/x"), std::nullopt);
  EXPECT_EQ(pathInFileSystem(home, "/"), std::nullopt);
  EXPECT_EQ(pathThrough(home, "/@home/user/x"), "/home/user/x");
  EXPECT_EQ(pathThrough(home, "/@home"), "/home");
  EXPECT_EQ(pathThrough(home, "/@homes/x"), std::nullopt);
  EXPECT_EQ(pathThrough(home, "/@/x"), std::nullopt);
}

TEST(HelperMounts, TranslatesWhereAWholeFileSystemIsMounted) {
  const Mount stick = mountOfRoot("/", "/media/stick");
  EXPECT_EQ(pathInFileSystem(stick, "/media/stick"), "/");
  EXPECT_EQ(pathInFileSystem(stick, "/media/stick/a/b"), "/a/b");
  EXPECT_EQ(pathThrough(stick, "/"), "/media/stick");
  EXPECT_EQ(pathThrough(stick, "/a/b"), "/media/stick/a/b");
  const Mount top = mountOfRoot("/@", "/");
  EXPECT_EQ(pathInFileSystem(top, "/"), "/@");
  EXPECT_EQ(pathInFileSystem(top, "/etc"), "/@/etc");
  EXPECT_EQ(pathThrough(top, "/@"), "/");
  EXPECT_EQ(pathThrough(top, "/@/etc"), "/etc");
  const Mount plain = mountOfRoot("/", "/");
  EXPECT_EQ(pathInFileSystem(plain, "/"), "/");
  EXPECT_EQ(pathThrough(plain, "/"), "/");
  EXPECT_EQ(pathThrough(plain, "/etc"), "/etc");
}

}  // namespace
}  // namespace quillo::helper
