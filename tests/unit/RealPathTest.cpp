#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "posix/RealPath.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

class RealPathTest : public testing::Test {
 protected:
  RealPathTest() { fs::create_directories(at("a/b")); }
  std::string at(const std::string& name) const { return folder.at(name); }
  void turn(const std::string& name, const std::string& target) const {
    fs::remove(at(name));
    fs::create_symlink(target, at(name));
  }
  TemporaryFolder folder;
};

TEST_F(RealPathTest, IsThePathItselfWithoutALink) {
  const RealPath real(at("a/b/"));
  EXPECT_EQ(real.path(), at("a/b"));
  EXPECT_TRUE(real.links().empty());
  EXPECT_EQ(RealPath("/").path(), "/");
  EXPECT_EQ(RealPath("/..").path(), "/");
}

TEST_F(RealPathTest, FollowsLinksOnTheWayAndAtTheEnd) {
  turn("absolute", at("a"));
  turn("relative", "./a/../a/b");
  turn("a/up", "../relative");
  EXPECT_EQ(RealPath(at("absolute/b")).path(), at("a/b"));
  EXPECT_EQ(RealPath(at("relative")).path(), at("a/b"));
  const RealPath both(at("absolute/up/x"));
  EXPECT_EQ(both.path(), at("a/b/x"));
  ASSERT_EQ(both.links().size(), 3U);
  EXPECT_EQ(both.links()[1].place, at("a/up"));
  EXPECT_EQ(both.links()[1].target, "../relative");
}

TEST_F(RealPathTest, KeepsWhatIsNotThereYet) {
  turn("link", "a/later");
  EXPECT_EQ(RealPath(at("link/x")).path(), at("a/later/x"));
}

TEST_F(RealPathTest, GivesUpOnLinksThatLeadInACircle) {
  turn("one", "two");
  turn("two", "one");
  const RealPath real(at("one"));
  EXPECT_EQ(real.links().size(), 40U);
  EXPECT_FALSE(real.hasChanged());
}

TEST_F(RealPathTest, HasNotChangedWhileEveryLinkSaysTheSame) {
  turn("link", "a");
  const RealPath real(at("link/b"));
  const RealPath plain(at("a/b"));
  folder.write("a/b/file");
  EXPECT_FALSE(real.hasChanged());
  EXPECT_FALSE(plain.hasChanged());
  EXPECT_FALSE(RealPath().hasChanged());
}

TEST_F(RealPathTest, HasChangedWhenALinkIsTurnedOrRemoved) {
  turn("link", "a");
  const RealPath real(at("link/b"));
  turn("link", "elsewhere");
  EXPECT_TRUE(real.hasChanged());
  fs::remove(at("link"));
  EXPECT_TRUE(real.hasChanged());
}

TEST_F(RealPathTest, HasChangedWhenAFolderHasBecomeALink) {
  const RealPath real(at("a/b"));
  fs::rename(at("a"), at("moved"));
  EXPECT_FALSE(real.hasChanged());
  turn("a", "moved");
  EXPECT_TRUE(real.hasChanged());
  EXPECT_EQ(RealPath(at("a/b")).path(), at("moved/b"));
}

}  // namespace
}  // namespace quillo
