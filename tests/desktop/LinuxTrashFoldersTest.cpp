#include <gtest/gtest.h>

#include <filesystem>

#include "platform/linux/names/LinuxTrashFolders.h"
#include "platform/linux/names/LinuxVolumes.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class LinuxTrashFoldersTest : public testing::Test {
 protected:
  bool isTrashed(const std::string& path) { return trash.isEnclosedByTrash(path); }

  LinuxTrashFolders trash{Environment(Environment::Variables{{"XDG_DATA_HOME", "/data/"}}),
                          "/home/a", 1000};
};

TEST_F(LinuxTrashFoldersTest, KnowsTheUsersOwn) {
  EXPECT_TRUE(isTrashed("/data/Trash/files/x"));
  EXPECT_TRUE(isTrashed("/home/a/.Trash/x"));
  EXPECT_FALSE(isTrashed("/home/a/.local/share/Trash/files/x"));
  LinuxTrashFolders usual(Environment(Environment::Variables{}), "/home/a", 1000);
  EXPECT_TRUE(usual.isEnclosedByTrash("/home/a/.local/share/Trash/files/x"));
}

TEST_F(LinuxTrashFoldersTest, KnowsTheUsersOwnAlsoByWhereItReallyLies) {
  const TemporaryFolder folder;
  folder.write("real/data/x", "");
  std::filesystem::create_symlink(folder.path() + "/real", folder.path() + "/home");
  const std::string home = folder.path() + "/home";
  LinuxTrashFolders linked(Environment(Environment::Variables{{"XDG_DATA_HOME", home + "/data"}}),
                           home, 1000);
  const std::string real = std::filesystem::canonical(home).string();
  for (const std::string& way : {home, real}) {
    EXPECT_TRUE(linked.isEnclosedByTrash(way + "/data/Trash/files/x")) << way;
    EXPECT_TRUE(linked.isEnclosedByTrash(way + "/.Trash/x")) << way;
    EXPECT_FALSE(linked.isEnclosedByTrash(way + "/data/x")) << way;
  }
}

TEST_F(LinuxTrashFoldersTest, GoesByWholeComponents) {
  EXPECT_FALSE(isTrashed("/data/Trash"));
  EXPECT_FALSE(isTrashed("/data/Trash/"));
  EXPECT_FALSE(isTrashed("/data/Trash2/x"));
  EXPECT_FALSE(isTrashed("/data/Trash/../x"));
  EXPECT_FALSE(isTrashed("/data/Trash/.."));
  EXPECT_TRUE(isTrashed("/data/Trash/..x"));
  EXPECT_FALSE(isTrashed("/home/b/.Trash/x"));
  EXPECT_FALSE(isTrashed(""));
}

TEST_F(LinuxTrashFoldersTest, KnowsThoseAtTheTopOfAVolumeAndNoneElsewhere) {
  // Two mount points that every machine has.
  for (const std::string mount : {"", "/proc"}) {
    EXPECT_TRUE(isTrashed(mount + "/.Trash-1000/files/x")) << mount;
    EXPECT_TRUE(isTrashed(mount + "/.Trash/1000/files/x")) << mount;
    EXPECT_FALSE(isTrashed(mount + "/.Trash-1001/files/x")) << mount;
    EXPECT_FALSE(isTrashed(mount + "/.Trash/files/x")) << mount;
    EXPECT_FALSE(isTrashed(mount + "/.Trash-1000")) << mount;
    EXPECT_FALSE(isTrashed(mount + "/.Trash-1000/")) << mount;
  }
  EXPECT_FALSE(isTrashed("/home/a/project/.Trash-1000/files/x"));
  EXPECT_FALSE(isTrashed("/home/a/.Trash-1000/proc/.Trash-1000/x"));
}

TEST(LinuxVolumesTest, LieWhereThisUsersVolumesAreMounted) {
  LinuxVolumes volumes("a");
  EXPECT_TRUE(volumes.isVolumeRoot("/Volumes/S"));
  EXPECT_TRUE(volumes.isVolumeRoot("/media/a/S"));
  EXPECT_TRUE(volumes.isVolumeRoot("/run/media/a/S"));
  EXPECT_FALSE(volumes.isVolumeRoot("/media/b/S"));
  EXPECT_FALSE(volumes.isVolumeRoot("/media/a/S/folder"));
  EXPECT_FALSE(volumes.isVolumeRoot("/Volumes"));
}

TEST(LinuxVolumesTest, OfAUserWithoutANameLieInVolumesOnly) {
  EXPECT_TRUE(LinuxVolumes("").isVolumeRoot("/Volumes/S"));
  EXPECT_FALSE(LinuxVolumes("").isVolumeRoot("/media/S"));
}

}  // namespace
}  // namespace quillo
