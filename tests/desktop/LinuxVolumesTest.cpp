#include <gtest/gtest.h>

#include "platform/linux/names/LinuxVolumes.h"
#include "tests/support/SystemCalls.h"

namespace quillo {
namespace {

std::string line(int id, const std::string& device, const std::string& root,
                 const std::string& point, const std::string& type,
                 const std::string& source = "x") {
  return std::to_string(id) + " 1 " + device + " " + root + " " + point +
         " rw,relatime shared:7 master:1 - " + type + " " + source + " rw\n";
}

std::vector<std::string> volumes(const std::string& text) {
  std::vector<std::string> points;
  for (const Mount& mount : volumesAmong(parseMountTable(text))) {
    points.push_back(mount.point);
  }
  return points;
}

using Points = std::vector<std::string>;

TEST(LinuxVolumesTest, ReadsOptionalFieldsAndPassesOverWhatIsNoMount) {
  EXPECT_EQ(volumes(line(9, "8:17", "/", "/media/a/S", "vfat") + "garbage\n\n36 35 98:0 / /x\n" +
                    "x 1 8:1 / /media/a/T rw - ext4 d rw\n" + "9 1 8:2 / /media/a/U rw - ext4\n"),
            Points{"/media/a/S"});
  EXPECT_TRUE(parseMountTable("").empty());
}

TEST(LinuxVolumesTest, VolumesAreWhatAUserWouldCallSo) {
  EXPECT_EQ(
      volumes(line(1, "8:1", "/", "/", "ext4") + line(2, "8:2", "/", "/boot/efi", "vfat") +
              line(3, "8:3", "/", "/home", "ext4") + line(4, "8:17", "/", "/media/a/S", "vfat") +
              line(5, "0:50", "/", "/mnt/share", "cifs") +
              line(6, "0:51", "/", "/run/media/a/Phone", "fuse.jmtpfs") +
              line(7, "0:52", "/", "/Volumes/Ram", "tmpfs") +
              line(8, "11:0", "/", "/media/cdrom", "iso9660")),
      (Points{"/home", "/media/a/S", "/mnt/share", "/run/media/a/Phone", "/Volumes/Ram",
              "/media/cdrom"}));
}

TEST(LinuxVolumesTest, PseudoFileSystemsImagesAndPortalsAreNoVolumes) {
  EXPECT_EQ(
      volumes(line(1, "0:20", "/", "/proc", "proc") + line(2, "0:21", "/", "/x/cg", "cgroup2") +
              line(3, "0:22", "/", "/home/a/tmp", "tmpfs") +
              line(4, "7:0", "/", "/snap/core/1", "squashfs") +
              line(5, "7:1", "/", "/media/a/image", "squashfs") +
              line(6, "0:23", "/", "/home/a/doc", "fuse.portal") +
              line(7, "0:24", "/", "/run/user/1000/gvfs", "fuse.gvfsd-fuse") +
              line(8, "0:25", "/", "/tmp/.mount_AppXYZ", "fuse.App.AppImage") +
              line(9, "0:26", "/", "/var/lib/docker/overlay2/a/merged", "overlay") +
              line(10, "0:27", "/", "/net", "autofs")),
      Points());
}

TEST(LinuxVolumesTest, BindMountsAreNoVolumesAndSubvolumesAre) {
  EXPECT_EQ(volumes(line(1, "8:1", "/", "/", "ext4") + line(2, "8:1", "/home/a", "/mnt/a", "ext4") +
                    line(3, "8:1", "/", "/mnt/all", "ext4") +
                    line(4, "0:40", "/@data", "/mnt/data", "btrfs") +
                    line(5, "0:40", "/@snap", "/mnt/snap", "btrfs") +
                    line(6, "0:41", "/share/sub", "/mnt/net", "nfs4") +
                    line(7, "8:9", "/sub", "/mnt/part", "ext4")),
            (Points{"/mnt/data", "/mnt/net"}));
}

TEST(NewVolumesTest, AreReportedOnceAndAgainWhenTheyComeAgain) {
  const auto disk = parseMountTable(line(1, "8:1", "/", "/", "ext4"));
  const auto both = parseMountTable(line(1, "8:1", "/", "/", "ext4") +
                                    line(2, "8:17", "/", "/media/a/S", "vfat"));
  NewVolumes newVolumes;
  newVolumes.reset(disk);
  EXPECT_EQ(newVolumes.update(both).size(), 1U);
  EXPECT_TRUE(newVolumes.update(both).empty());
  EXPECT_TRUE(newVolumes.update(disk).empty());
  EXPECT_EQ(newVolumes.update(both).size(), 1U);
}

TEST(NewVolumesTest, DoNotTakeABindMountForNewWhenItsOriginalGoesAway) {
  const std::string bind = line(3, "8:17", "/", "/mnt/S", "vfat");
  NewVolumes newVolumes;
  newVolumes.reset(parseMountTable(line(2, "8:17", "/", "/media/a/S", "vfat") + bind));
  EXPECT_TRUE(newVolumes.update(parseMountTable(bind)).empty());
}

TEST(LinuxMountNotificationsTest, MayBeObservedAgainAndStoppedAtAnyTime) {
  LinuxMountNotifications notifications;
  notifications.stopObserving();
  notifications.observe([](const std::string&) { FAIL(); });
  notifications.observe([](const std::string&) { FAIL(); });
  notifications.stopObserving();
  notifications.stopObserving();
}

}  // namespace
}  // namespace quillo
