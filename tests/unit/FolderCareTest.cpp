#include <gtest/gtest.h>

#include "companion/folders/FolderCare.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Kind = FolderCare::Kind;

Mount mounted(const std::string& point, const std::string& type, const std::string& source = "x") {
  Mount mount;
  mount.point = point;
  mount.root = "/";
  mount.type = type;
  mount.source = source;
  return mount;
}

class FolderCareTest : public testing::Test {
 protected:
  std::vector<FolderCare> cares(const std::string& path, bool withSubdirs = true) {
    return careOf({path, withSubdirs}, mounts,
                  [this](const std::string& point) { return point != withoutHandles; });
  }
  Kind kind(const std::string& path, bool withSubdirs = true) {
    return cares(path, withSubdirs).front().kind;
  }

  TemporaryFolder folder;
  const std::string stick = folder.makeFolder("stick");
  std::vector<Mount> mounts = {mounted("/", "ext4")};
  std::string withoutHandles;
};

TEST_F(FolderCareTest, IsCompleteWhereTheKernelReportsEveryName) {
  EXPECT_EQ(kind(folder.path() + "/"), Kind::complete);
  EXPECT_EQ(cares(folder.path()).front().fileSystem, "ext4");
  EXPECT_EQ(cares(folder.path()).size(), 1U);
}

TEST_F(FolderCareTest, IsByNamesWhereItDoesNot) {
  mounts.push_back(mounted(stick, "fuseblk"));
  withoutHandles = stick;
  EXPECT_EQ(kind(stick), Kind::byNames);
  EXPECT_EQ(kind(folder.makeFolder("stick/deep")), Kind::byNames);
}

TEST_F(FolderCareTest, IsNoneOnANetworkDrive) {
  mounts.push_back(mounted(stick, "nfs4"));
  EXPECT_EQ(kind(stick), Kind::network);
  mounts.back() = mounted(stick, "ocfs2");
  EXPECT_EQ(kind(stick), Kind::network);
}

// Whose server may not answer: a look at it would wait for it.
TEST_F(FolderCareTest, DoesNotLookAtANetworkDrive) {
  mounts.push_back(mounted("/no/such/drive", "cifs"));
  EXPECT_EQ(kind("/no/such/drive/folder"), Kind::network);
  mounts.push_back(mounted(stick, "cifs"));
  EXPECT_EQ(kind(folder.link("stick/link", folder.path())), Kind::network);
}

TEST_F(FolderCareTest, FollowsALinkToAnotherFileSystem) {
  mounts.push_back(mounted(stick, "nfs"));
  EXPECT_EQ(kind(folder.link("link", stick)), Kind::network);
}

TEST_F(FolderCareTest, TakesTheMountOnTopOfOthers) {
  mounts.push_back(mounted(stick, "nfs"));
  mounts.push_back(mounted(stick, "ext4"));
  EXPECT_EQ(kind(stick), Kind::complete);
}

TEST_F(FolderCareTest, KnowsWhatCannotChange) {
  mounts.push_back(mounted(stick, "ext4"));
  mounts.back().readOnly = true;
  EXPECT_EQ(kind(stick), Kind::unchanging);
  mounts.back() = mounted(stick, "squashfs");
  EXPECT_EQ(kind(stick), Kind::unchanging);
}

TEST_F(FolderCareTest, KnowsWhatIsTheKernels) {
  mounts.push_back(mounted(stick, "tracefs"));
  EXPECT_EQ(kind(stick), Kind::kernels);
}

TEST_F(FolderCareTest, KnowsAMissingFolder) {
  EXPECT_EQ(kind(folder.at("nothing")), Kind::missing);
  EXPECT_EQ(kind(""), Kind::missing);
  EXPECT_EQ(kind("relative"), Kind::missing);
}

TEST_F(FolderCareTest, YieldsNothingWithoutSubfoldersButForTheRootFolder) {
  EXPECT_EQ(kind(stick, false), Kind::noSubfolders);
  EXPECT_EQ(kind("/", false), Kind::complete);
}

TEST_F(FolderCareTest, IsUnknownWithoutAMountTable) {
  mounts.clear();
  EXPECT_EQ(kind(stick), Kind::unknown);
}

TEST_F(FolderCareTest, NamesFileSystemsBelowThatCatchLess) {
  mounts.push_back(mounted(stick, "nfs"));
  mounts.push_back(mounted(folder.at("fuse"), "fuse.x"));
  mounts.push_back(mounted(folder.at("disk"), "xfs"));
  mounts.push_back(mounted(folder.at("proc"), "proc"));
  withoutHandles = folder.at("fuse");
  const std::vector<FolderCare> all = cares(folder.path());
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[1].kind, Kind::network);
  EXPECT_EQ(all[1].path, stick);
  EXPECT_EQ(all[2].kind, Kind::byNames);
  EXPECT_EQ(all[2].path, folder.at("fuse"));
}

TEST_F(FolderCareTest, HasASentenceForEveryKind) {
  for (int kind = 0; kind <= static_cast<int>(Kind::unknown); ++kind) {
    EXPECT_FALSE(wordingOf({static_cast<Kind>(kind), "/a", "ext4"}).empty()) << kind;
  }
}

}  // namespace
}  // namespace quillo
