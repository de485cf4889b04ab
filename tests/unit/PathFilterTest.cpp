#include <gtest/gtest.h>

#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/support/TemporaryFolder.h"
#include "watchers/PathFilter.h"

namespace quillo {
namespace {

using Rule = PathFilter::Rule;

class PathFilterTest : public testing::Test {
 protected:
  Rule rule(const std::string& path) {
    filter.refresh();
    return filter.judge(path).rule;
  }
  std::string folderOf(const std::string& path) {
    filter.refresh();
    const std::string* found = filter.judge(path).folder;
    return found ? *found : "";
  }

  FakePlatform desktop;
  FakeWatcherOwner owner;
  PathFilter filter{owner, desktop.trashFolders};
};

TEST_F(PathFilterTest, NamesTheRuleThatDecides) {
  owner.watch("/all/", true);
  owner.watch("/top/", false);
  filter.setQuarantineFolder("/all/quarantine/");
  EXPECT_EQ(rule("/all/a/b"), Rule::watched);
  EXPECT_EQ(rule("/all/quarantine/b"), Rule::inQuarantine);
  EXPECT_EQ(rule("/all/.Trash/b"), Rule::inTrash);
  EXPECT_EQ(rule("/top/b"), Rule::inSubfolder);
  EXPECT_EQ(rule("/alley"), Rule::outside);
}

TEST_F(PathFilterTest, NamesTheFolderThatDecides) {
  owner.watch("/top/", false);
  owner.watch("/top/all/", true);
  EXPECT_EQ(folderOf("/top/all/b"), "/top/all/");
  EXPECT_EQ(folderOf("/top/b"), "/top/");
  EXPECT_EQ(folderOf("/elsewhere"), "");
}

TEST_F(PathFilterTest, LetsWhatLiesInTheRootFolderPassWithoutSubfolders) {
  owner.watch("/", false);
  EXPECT_EQ(rule("/a"), Rule::watched);
  EXPECT_EQ(rule("/a/b"), Rule::inSubfolder);
}

TEST(WatchedForm, EndsInASlashForAFolderOnly) {
  const TemporaryFolder folder;
  EXPECT_EQ(watchedForm(folder.path()), folder.path() + "/");
  EXPECT_EQ(watchedForm(folder.path() + "/"), folder.path() + "/");
  const std::string file = folder.write("file");
  EXPECT_EQ(watchedForm(file), file);
  EXPECT_EQ(watchedForm(folder.at("none")), std::nullopt);
}

}  // namespace
}  // namespace quillo
