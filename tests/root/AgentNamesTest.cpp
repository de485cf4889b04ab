// Names on file systems on which the helper hears of writing alone.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "posix/ChildProcess.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

// Something mounted as long as this object, which everybody may write.
class Mounted {
 public:
  explicit Mounted(const std::string& point) : point_(point) {}
  virtual ~Mounted() { umount2(point_.c_str(), MNT_DETACH); }
  Mounted(const Mounted&) = delete;
  Mounted& operator=(const Mounted&) = delete;

 protected:
  const std::string point_;
  const FolderOfMounts folder_;
};

class MountedOverlay final : public Mounted {
 public:
  explicit MountedOverlay(const std::string& point) : Mounted(point) {
    for (const char* name : {"/lower", "/upper", "/work"}) {
      makeFolder(folder_.path() + name, 0777);
    }
    const std::string& at = folder_.path();
    const std::string folders =
        "lowerdir=" + at + "/lower,upperdir=" + at + "/upper,workdir=" + at + "/work";
    check(mount("overlay", point.c_str(), "overlay", 0, folders.c_str()), "overlay");
  }
};

// NTFS by NTFS-3G, which is a FUSE file system.
class MountedNtfs final : public Mounted {
 public:
  explicit MountedNtfs(const std::string& point) : Mounted(point) {
    const std::string image = folder_.path() + "/image";
    writeFile(image, "");
    check(truncate(image.c_str(), off_t{64} << 20), image);
    runProgram({"mkfs.ntfs", "-q", "-F", "-s", "512", "-p", "0", "-H", "255", "-S", "63", image});
    runProgram({"ntfs-3g", image, point, "-o", "allow_other,umask=0"});
  }
};

// exFAT by the FUSE file system of that name.
class MountedExfat final : public Mounted {
 public:
  explicit MountedExfat(const std::string& point) : Mounted(point) {
    const std::string image = folder_.path() + "/image";
    writeFile(image, "");
    check(truncate(image.c_str(), off_t{64} << 20), image);
    runProgram({"mkfs.exfat", image});
    ChildProcess setup({"/usr/sbin/losetup", {"--find", "--show", image}});
    setup.waitUntilExit([this](std::string_view chunk) {
      device_ += chunk;
      return true;
    });
    device_.resize(device_.find('\n'));
    const std::string user = std::to_string(GuardedHome::user);
    runProgram({"mount.exfat-fuse", "-o", "allow_other,umask=0,uid=" + user + ",gid=" + user,
                device_, point});
  }
  ~MountedExfat() override {
    umount2(point_.c_str(), MNT_DETACH);
    runProgram({"losetup", "--detach", device_});
  }

 private:
  std::string device_;
};

class AgentNames : public testing::TestWithParam<const char*> {
 protected:
  AgentNames() {
    makeFolder(disk, 0777);
    const std::string kind = GetParam();
    if (kind == "overlay") {
      mounted = std::make_unique<MountedOverlay>(disk);
    } else if (kind == "ntfs") {
      mounted = std::make_unique<MountedNtfs>(disk);
    } else {
      mounted = std::make_unique<MountedExfat>(disk);
    }
    makeFolder(watched, 0777);
    makeFolder(disk + "/aside", 0777);
  }
  void watch(const std::string& place) {
    home.watchInstead(place);
    home.start();
    home.awaitWatching(watched + "/sentinel");
  }
  // A file that lies on the same disk, where nobody watches.
  std::string aside(const std::string& name) {
    std::string path = disk + "/aside/" + name;
    writeFile(path, GuardedHome::testFile());
    check(chmod(path.c_str(), 0666), path);
    return path;
  }

  GuardedHome home;
  const std::string disk = home.home() + "/disk";
  const std::string watched = disk + "/watched";
  std::unique_ptr<Mounted> mounted;
};

TEST_P(AgentNames, ScansAFileThatIsMovedIn) {
  const std::string file = aside("bad.com");
  watch(watched);
  moveFile(file, watched + "/bad.com");
  EXPECT_TRUE(home.logHas(watched + "/bad.com" + found));
}

TEST_P(AgentNames, ScansAFileThatIsRenamed) {
  watch(watched);
  home.saveInfected(watched + "/bad.part");
  ASSERT_TRUE(home.logHas(watched + "/bad.part" + found));
  moveFile(watched + "/bad.part", watched + "/bad.com");
  EXPECT_TRUE(home.logHas(watched + "/bad.com" + found));
}

TEST_P(AgentNames, ScansWhatLiesInAFolderThatIsMovedIn) {
  makeFolder(disk + "/aside/whole", 0777);
  makeFolder(disk + "/aside/whole/sub", 0777);
  aside("whole/sub/bad.com");
  watch(watched);
  moveFile(disk + "/aside/whole", watched + "/whole");
  EXPECT_TRUE(home.logHas(watched + "/whole/sub/bad.com" + found));
  const std::string later = aside("later.com");
  moveFile(later, watched + "/whole/sub/later.com");
  EXPECT_TRUE(home.logHas(watched + "/whole/sub/later.com" + found));
}

TEST_P(AgentNames, ScansThereAlsoWhenAFolderAboveIsWatched) {
  const std::string file = aside("bad.com");
  watch(home.home());
  moveFile(file, watched + "/bad.com");
  EXPECT_TRUE(home.logHas(watched + "/bad.com" + found));
}

INSTANTIATE_TEST_SUITE_P(All, AgentNames, testing::Values("overlay", "ntfs", "exfat"));

TEST(AgentNamesOverlay, ScansAFileThatIsLinkedIn) {
  GuardedHome home;
  const std::string disk = home.home() + "/disk";
  makeFolder(disk, 0777);
  const MountedOverlay overlay(disk);
  makeFolder(disk + "/watched", 0777);
  writeFile(disk + "/aside.com", GuardedHome::testFile());
  home.watchInstead(disk + "/watched");
  home.start();
  home.awaitWatching(disk + "/watched/sentinel");
  check(link((disk + "/aside.com").c_str(), (disk + "/watched/bad.com").c_str()), "link");
  EXPECT_TRUE(home.logHas(disk + "/watched/bad.com" + found));
}

TEST(AgentNamesOverlay, ScansOnADiskThatIsMountedLater) {
  GuardedHome home;
  const std::string disk = home.guarded("disk");
  home.startAndAwaitWatching();
  makeFolder(disk, 0777);
  const MountedOverlay overlay(disk);
  home.awaitWatching("disk/sentinel");
  home.saveInfected("disk/bad.part");
  ASSERT_TRUE(home.logHas(disk + "/bad.part" + found));
  moveFile(disk + "/bad.part", disk + "/bad.com");
  EXPECT_TRUE(home.logHas(disk + "/bad.com" + found));
}

}  // namespace
}  // namespace quillo::tests
