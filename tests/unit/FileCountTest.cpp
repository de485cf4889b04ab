#include <gtest/gtest.h>
#include <sys/stat.h>

#include "companion/scan/FileCount.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class FileCountTest : public testing::Test {
 protected:
  FileCountTest() {
    folder.write("in/a", "12345");
    folder.write("in/deep/b", "123");
    folder.write("alone", "1");
  }
  FileCount::Sum count(const std::vector<std::string>& names) {
    std::vector<std::string> paths;
    for (const std::string& name : names) {
      paths.push_back(folder.at(name));
    }
    files.count(paths);
    return files.sum();
  }

  TemporaryFolder folder;
  FileCount files;
};

TEST_F(FileCountTest, CountsFilesAndBytesInFoldersAndAlone) {
  const FileCount::Sum sum = count({"in", "alone"});
  EXPECT_EQ(sum.files, 3U);
  EXPECT_EQ(sum.bytes, 9U);
  EXPECT_TRUE(sum.isWhole);
}

TEST_F(FileCountTest, FollowsALinkThatWasChosenAndNoneInAFolder) {
  folder.link("chosen", "in");
  folder.link("in/deep/up", "../..");
  folder.link("in/to-file", "a");
  const FileCount::Sum sum = count({"chosen"});
  EXPECT_EQ(sum.files, 2U);
  EXPECT_TRUE(sum.isWhole);
}

TEST_F(FileCountTest, CountsWhatIsNoFileWithoutBytes) {
  ASSERT_EQ(mkfifo(folder.at("in/pipe").c_str(), 0600), 0);
  const FileCount::Sum sum = count({"in"});
  EXPECT_EQ(sum.files, 3U);
  EXPECT_EQ(sum.bytes, 8U);
}

TEST_F(FileCountTest, PassesOverWhatIsNotThere) {
  const FileCount::Sum sum = count({"gone"});
  EXPECT_EQ(sum.files, 0U);
  EXPECT_TRUE(sum.isWhole);
}

TEST_F(FileCountTest, IsNotWholeOnceItWasStopped) {
  files.stop();
  EXPECT_FALSE(count({"in"}).isWhole);
}

}  // namespace
}  // namespace quillo
