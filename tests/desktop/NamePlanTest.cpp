#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "platform/linux/names/NamePlan.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Texts = std::vector<std::string>;

// "/" has handles, whatever is mounted besides has none unless it is said to.
class NamePlanTest : public testing::Test {
 protected:
  NamePlanTest() { mount("/", "ext4"); }
  void mount(const std::string& point, const std::string& type, const std::string& source = "x") {
    Mount next;
    next.id = static_cast<int>(mounts.size()) + 1;
    next.point = point;
    next.type = type;
    next.source = source;
    mounts.push_back(next);
  }
  NamePlan plan(const std::vector<NamedPlace>& places) {
    return planNames(places, mounts,
                     [this](const std::string& path) { return withHandles.count(path) != 0; });
  }
  static Texts foldersOf(const NamePlan& plan) {
    Texts folders;
    for (const NameRoot& root : plan.roots) {
      folders.push_back(root.folder + (root.withSubfolders ? "" : " alone"));
    }
    return folders;
  }
  Texts roots(const std::vector<NamedPlace>& places) { return foldersOf(plan(places)); }

  std::set<std::string> withHandles{"/"};
  std::vector<Mount> mounts;
};

TEST_F(NamePlanTest, HasNoRootsWhereTheHelperHearsOfNames) {
  EXPECT_EQ(roots({{"/home/anna/", true}, {"/", false}}), Texts());
}

TEST_F(NamePlanTest, HasARootForAPlaceWithoutHandles) {
  mount("/stick", "fuseblk");
  EXPECT_EQ(roots({{"/stick/photos/", true}, {"/home/", true}}), Texts{"/stick/photos"});
  EXPECT_EQ(roots({{"/stick/", false}}), Texts());
}

TEST_F(NamePlanTest, HasARootForWhatIsMountedBelowAPlace) {
  mount("/home/anna/stick", "exfat");
  mount("/home/anna/disk", "ext4");
  mount("/home/bert/stick", "exfat");
  withHandles.insert("/home/anna/disk");
  EXPECT_EQ(roots({{"/home/anna/", true}}), Texts{"/home/anna/stick"});
  EXPECT_EQ(roots({{"/home/anna/", false}}), Texts());
}

TEST_F(NamePlanTest, GoesByTheMountOnTop) {
  mount("/stick", "exfat");
  mount("/stick", "ext4");
  withHandles.insert("/stick");
  EXPECT_EQ(roots({{"/stick/", true}, {"/", true}}), Texts());
  mount("/covered", "exfat");
  mount("/covered", "proc");
  EXPECT_EQ(roots({{"/covered/", true}, {"/", true}}), Texts());
}

TEST_F(NamePlanTest, WatchesTheRootFolderAlsoWithoutSubfolders) {
  withHandles.clear();
  EXPECT_EQ(roots({{"/", false}}), Texts{"/ alone"});
  EXPECT_EQ(roots({{"/", false}, {"/", true}}), Texts{"/"});
}

TEST_F(NamePlanTest, LeavesOutWhatAnotherRootReaches) {
  mount("/stick", "exfat");
  mount("/stick/inner", "exfat");
  EXPECT_EQ(roots({{"/stick/a/b/", true}, {"/stick/", true}, {"/stick/inner/x/", true}}),
            (Texts{"/stick", "/stick/inner"}));
}

TEST_F(NamePlanTest, LeavesTheKernelsOwnFileSystemsAlone) {
  mount("/proc", "proc");
  mount("/run/user/1000/doc", "fuse.portal");
  mount("/run/user/1000/gvfs", "fuse.gvfsd-fuse");
  EXPECT_EQ(roots({{"/", true}, {"/proc/", true}}), Texts());
}

TEST_F(NamePlanTest, LeavesImagesOfPackagedProgramsAlone) {
  mount("/snap/a", "squashfs");
  mount("/snap/b", "fuse.snapfuse");
  const NamePlan made = plan({{"/snap/", true}, {"/snap/b/", true}});
  EXPECT_EQ(foldersOf(made), Texts());
  EXPECT_EQ(made.onNetwork, Texts());
}

TEST_F(NamePlanTest, NamesPlacesOnDisksThatOtherMachinesWriteToAsWell) {
  mount("/cluster", "gfs2");
  mount("/shared", "ocfs2");
  mount("/lab", "lustre");
  const NamePlan made = plan({{"/cluster/", true}, {"/shared/", true}, {"/lab/", true}});
  EXPECT_EQ(made.onNetwork, (Texts{"/cluster/", "/shared/", "/lab/"}));
  EXPECT_EQ(foldersOf(made), Texts());
}

TEST_F(NamePlanTest, NamesPlacesOnTheNetwork) {
  mount("/nfs", "nfs4");
  mount("/ssh", "fuse.sshfs");
  mount("/dav", "fuse", "https://server/");
  mount("/home/anna/share", "cifs");
  const NamePlan made =
      plan({{"/nfs/a/", true}, {"/ssh/", true}, {"/dav/", true}, {"/home/anna/", true}});
  EXPECT_EQ(made.onNetwork, (Texts{"/nfs/a/", "/ssh/", "/dav/"}));
  EXPECT_TRUE(made.roots.empty());
}

TEST_F(NamePlanTest, FollowsLinksAndRemembersTheWays) {
  const TemporaryFolder disk;
  std::filesystem::create_directories(disk.path() + "/real");
  std::filesystem::create_directory_symlink("real", disk.path() + "/link");
  mount(disk.path() + "/real", "exfat");
  const NamePlan made = plan({{disk.path() + "/link/", true}, {disk.path() + "/", false}});
  EXPECT_EQ(foldersOf(made), Texts{disk.path() + "/real"});
  ASSERT_EQ(made.ways.size(), 1U);
  EXPECT_EQ(made.ways[0].links().size(), 1U);
}

TEST_F(NamePlanTest, WatchesAFileByTheFolderThatItLiesIn) {
  const TemporaryFolder disk;
  disk.write("notes", "text");
  mount(disk.path(), "exfat");
  EXPECT_EQ(roots({{disk.path() + "/notes", true}}), Texts{disk.path() + " alone"});
}

}  // namespace
}  // namespace quillo
