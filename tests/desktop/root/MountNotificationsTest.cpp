#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <QCoreApplication>

#include "platform/linux/names/LinuxVolumes.h"
#include "tests/desktop/support/QtEvents.h"

namespace quillo {
namespace {

using Points = std::vector<std::string>;

// A mount namespace of this process's own, in which /mnt is empty.
class RealMounts : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(unshare(CLONE_NEWNS), 0) << "needs root";
    ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    ASSERT_EQ(::mount("none", "/mnt", "tmpfs", 0, nullptr), 0);
  }
  // With all that is mounted in it.
  void TearDown() override { umount2("/mnt", MNT_DETACH); }
  static std::string mount(const std::string& name) {
    std::string point = "/mnt/" + name;
    mkdir(point.c_str(), 0700);
    EXPECT_EQ(::mount("none", point.c_str(), "tmpfs", 0, nullptr), 0);
    return point;
  }
  void observe() {
    notifications.observe([this](const std::string& point) { reported.push_back(point); });
  }
  // What was reported before and with a volume mounted now.
  Points reportedUpTo(const std::string& sentinel) {
    const std::string last = mount(sentinel);
    EXPECT_TRUE(waitUntil([&] { return !reported.empty() && reported.back() == last; }));
    return reported;
  }

  int argc = 1;
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
  QCoreApplication application{argc, argv};
  LinuxMountNotifications notifications;
  Points reported;
};

TEST_F(RealMounts, AreReportedOnceEachAsTheyAppear) {
  mount("before");
  observe();
  EXPECT_EQ(reportedUpTo("My Stick\\1"), Points{"/mnt/My Stick\\1"});
  EXPECT_EQ(reportedUpTo("second"), (Points{"/mnt/My Stick\\1", "/mnt/second"}));
}

TEST_F(RealMounts, SeveralAtOnceAreAllReported) {
  observe();
  for (int i = 0; i < 100; ++i) {
    mount(std::to_string(i));
  }
  EXPECT_EQ(reportedUpTo("last").size(), 101U);
}

TEST_F(RealMounts, AreNotReportedWhenTheyChangeOrAreBoundElsewhere) {
  const std::string point = mount("before");
  mkdir("/mnt/bound", 0700);
  observe();
  ASSERT_EQ(::mount("none", point.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  ASSERT_EQ(::mount(point.c_str(), "/mnt/bound", nullptr, MS_BIND, nullptr), 0);
  EXPECT_EQ(reportedUpTo("last"), Points{"/mnt/last"});
}

TEST_F(RealMounts, AreReportedAgainWhenTheyComeAgain) {
  observe();
  EXPECT_EQ(reportedUpTo("stick").size(), 1U);
  ASSERT_EQ(umount("/mnt/stick"), 0);
  EXPECT_EQ(reportedUpTo("other").size(), 2U);
  EXPECT_EQ(reportedUpTo("stick"), (Points{"/mnt/stick", "/mnt/other", "/mnt/stick"}));
}

TEST_F(RealMounts, AreToldOfWhenTheyComeAndWhenTheyGo) {
  int changes = 0;
  LinuxVolumeChanges both;
  both.observe([&changes] { ++changes; });
  mount("stick");
  ASSERT_TRUE(waitUntil([&changes] { return changes == 1; }));
  ASSERT_EQ(umount("/mnt/stick"), 0);
  EXPECT_TRUE(waitUntil([&changes] { return changes == 2; }));
  both.stopObserving();
  observe();
  reportedUpTo("other");
  EXPECT_EQ(changes, 2);
}

TEST_F(RealMounts, AreVolumesWhereverTheyLieForAsLongAsTheyAreMounted) {
  LinuxVolumes volumes("anna");
  mkdir("/mnt/stick", 0700);
  EXPECT_FALSE(volumes.isVolumeRoot("/mnt/stick"));
  mount("stick");
  EXPECT_TRUE(volumes.isVolumeRoot("/mnt/stick"));
  mkdir("/mnt/stick/folder", 0700);
  EXPECT_FALSE(volumes.isVolumeRoot("/mnt/stick/folder"));
  ASSERT_EQ(umount("/mnt/stick"), 0);
  EXPECT_FALSE(volumes.isVolumeRoot("/mnt/stick"));
}

TEST_F(RealMounts, AreNotReportedAfterTheListenerHasHadEnough) {
  LinuxMountNotifications other;
  int heard = 0;
  other.observe([&](const std::string&) {
    ++heard;
    other.stopObserving();
  });
  observe();
  mount("one");
  mount("of several");
  reportedUpTo("first");
  ASSERT_TRUE(waitUntil([&] { return heard == 1; }));
  reportedUpTo("second");
  QCoreApplication::processEvents();
  EXPECT_EQ(heard, 1);
}

}  // namespace
}  // namespace quillo
