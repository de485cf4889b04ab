#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <QCoreApplication>

#include "platform/linux/names/LinuxMountNotifications.h"
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
    notifications.observe([this](const std::string& point) { told.push_back(point); });
  }
  // What was told before and with a volume mounted now.
  Points toldUpTo(const std::string& sentinel) {
    const std::string last = mount(sentinel);
    EXPECT_TRUE(waitUntil([&] { return !told.empty() && told.back() == last; }));
    return told;
  }

  int argc = 1;
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
  QCoreApplication application{argc, argv};
  LinuxMountNotifications notifications;
  Points told;
};

TEST_F(RealMounts, AreToldOfOnceEachAsTheyAppear) {
  mount("before");
  observe();
  EXPECT_EQ(toldUpTo("My Stick\\1"), Points{"/mnt/My Stick\\1"});
  EXPECT_EQ(toldUpTo("second"), (Points{"/mnt/My Stick\\1", "/mnt/second"}));
}

TEST_F(RealMounts, SeveralAtOnceAreAllToldOf) {
  observe();
  for (int i = 0; i < 100; ++i) {
    mount(std::to_string(i));
  }
  EXPECT_EQ(toldUpTo("last").size(), 101U);
}

TEST_F(RealMounts, AreNotToldOfWhenTheyChangeOrAreBoundElsewhere) {
  const std::string point = mount("before");
  mkdir("/mnt/bound", 0700);
  observe();
  ASSERT_EQ(::mount("none", point.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  ASSERT_EQ(::mount(point.c_str(), "/mnt/bound", nullptr, MS_BIND, nullptr), 0);
  EXPECT_EQ(toldUpTo("last"), Points{"/mnt/last"});
}

TEST_F(RealMounts, AreToldOfAgainWhenTheyComeAgain) {
  observe();
  EXPECT_EQ(toldUpTo("stick").size(), 1U);
  ASSERT_EQ(umount("/mnt/stick"), 0);
  EXPECT_EQ(toldUpTo("other").size(), 2U);
  EXPECT_EQ(toldUpTo("stick"), (Points{"/mnt/stick", "/mnt/other", "/mnt/stick"}));
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

TEST_F(RealMounts, AreNotToldOfAfterTheListenerHasHadEnough) {
  LinuxMountNotifications other;
  int heard = 0;
  other.observe([&](const std::string&) {
    ++heard;
    other.stopObserving();
  });
  observe();
  mount("one");
  mount("of several");
  toldUpTo("first");
  ASSERT_TRUE(waitUntil([&] { return heard == 1; }));
  toldUpTo("second");
  QCoreApplication::processEvents();
  EXPECT_EQ(heard, 1);
}

}  // namespace
}  // namespace quillo
