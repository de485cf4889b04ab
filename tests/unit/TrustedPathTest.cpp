#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "posix/RealPath.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class TrustedPath : public testing::Test {
 protected:
  std::string distrust(const std::string& path) const {
    return distrustOfPath(path, {0, geteuid()});
  }
  void setMode(const std::string& name, mode_t mode) const {
    ASSERT_EQ(chmod((folder.path() + "/" + name).c_str(), mode), 0);
  }
  std::string link(const std::string& target, const std::string& name) const {
    std::string path = folder.path() + "/" + name;
    EXPECT_EQ(symlink(target.c_str(), path.c_str()), 0);
    return path;
  }

  TemporaryFolder folder;
  const std::string file = folder.write("a/b/file", "x");
};

TEST_F(TrustedPath, IsOneThatOnlyThisUserAndRootMayChange) { EXPECT_EQ(distrust(file), ""); }

TEST_F(TrustedPath, IsAbsoluteAndLeadsSomewhere) {
  EXPECT_EQ(distrust(""), "not an absolute path");
  EXPECT_EQ(distrust("clamd"), "not an absolute path");
  EXPECT_EQ(distrust(file + "2"), file + "2 cannot be looked at");
  EXPECT_NE(distrust(file + std::string("\0x", 2)), "");
}

TEST_F(TrustedPath, IsNoneWhoseFileOthersMayWrite) {
  setMode("a/b/file", 0664);
  EXPECT_EQ(distrust(file), "others may write to " + file);
  setMode("a/b/file", 0606);
  EXPECT_EQ(distrust(file), "others may write to " + file);
}

TEST_F(TrustedPath, IsNoneBelowAFolderThatOthersMayWrite) {
  setMode("a", 0777);
  EXPECT_EQ(distrust(file), "others may write to " + folder.path() + "/a");
}

TEST_F(TrustedPath, MayLieInASharedFolderWhereEachOwnsHisOwn) {
  setMode("a", 01777);
  EXPECT_EQ(distrust(file), "");
}

TEST_F(TrustedPath, IsNoneThatBelongsToSomebodyElse) {
  EXPECT_NE(distrustOfPath(file, {geteuid() + 1}), "");
}

TEST_F(TrustedPath, IsLookedAtWhereItsLinksLead) {
  setMode("a", 0777);
  EXPECT_EQ(distrust(link(file, "whole")), "others may write to " + folder.path() + "/a");
  EXPECT_EQ(distrust(link("a/b", "relative") + "/file"),
            "others may write to " + folder.path() + "/a");
  setMode("a", 0755);
  EXPECT_EQ(distrust(folder.path() + "/whole"), "");
  EXPECT_EQ(distrust(folder.path() + "/relative/../b/./file"), "");
}

TEST_F(TrustedPath, IsNoneThatGoesRoundInCircles) {
  const std::string circle = link("circle", "circle");
  EXPECT_EQ(distrust(circle), circle + " cannot be followed");
}

}  // namespace
}  // namespace quillo
