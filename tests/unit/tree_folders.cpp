#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "posix/PlatformException.h"
#include "tests/support/TreeSandbox.h"
#include "tools/engine-tree/SocketFolder.h"
#include "tools/engine-tree/TreeFolder.h"

namespace quillo {
namespace {

EngineAccount ownAccount() { return {geteuid(), getegid(), "me", "/"}; }

mode_t modeOf(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(TreeFolder, MakesTheFoldersAboveIt) {
  const TreeSandbox sandbox;
  const TreeFolder folder = TreeFolder::openOrMake(sandbox.path("a/b/c/"));
  EXPECT_EQ(folder.path(), sandbox.path("a/b/c"));
  EXPECT_TRUE(std::filesystem::is_directory(sandbox.path("a/b/c")));
}

TEST(TreeFolder, ReplacesALinkInsteadOfWritingThroughIt) {
  const TreeSandbox sandbox;
  sandbox.write("victim", "precious");
  const TreeFolder folder = TreeFolder::openOrMake(sandbox.path("tree"));
  ASSERT_EQ(symlink(sandbox.path("victim").c_str(), sandbox.path("tree/file").c_str()), 0);
  ASSERT_EQ(symlink(sandbox.path("victim").c_str(), sandbox.path("tree/.file.new").c_str()), 0);
  EXPECT_TRUE(folder.write("file", "new", 0644));
  EXPECT_EQ(sandbox.read("victim"), "precious");
  EXPECT_FALSE(std::filesystem::is_symlink(sandbox.path("tree/file")));
  EXPECT_EQ(sandbox.read("tree/file"), "new");
}

TEST(TreeFolder, ReadsNeitherThroughALinkNorFromAFifo) {
  const TreeSandbox sandbox;
  sandbox.write("secret", "x");
  const TreeFolder folder = TreeFolder::openOrMake(sandbox.path("tree"));
  ASSERT_EQ(symlink(sandbox.path("secret").c_str(), sandbox.path("tree/link").c_str()), 0);
  ASSERT_EQ(mkfifo(sandbox.path("tree/fifo").c_str(), 0600), 0);
  EXPECT_FALSE(folder.read("link").has_value());
  EXPECT_FALSE(folder.read("fifo").has_value());
}

TEST(TreeFolder, RefusesASubfolderThatIsALink) {
  const TreeSandbox sandbox;
  const TreeFolder folder = TreeFolder::openOrMake(sandbox.path("tree"));
  std::filesystem::create_directory_symlink(sandbox.path("tools"), sandbox.path("tree/etc"));
  EXPECT_THROW(folder.subfolder("etc"), PlatformException);
}

TEST(TreeFolder, RefusesAPlaceThatEverybodyMayWrite) {
  const TreeSandbox sandbox;
  std::filesystem::create_directory(sandbox.path("open"));
  ASSERT_EQ(chmod(sandbox.path("open").c_str(), 0777), 0);
  EXPECT_THROW(TreeFolder::openOrMake(sandbox.path("open/tree")), PlatformException);
}

TEST(TreeFolder, TakesTheWritePermissionOfOthersAway) {
  const TreeSandbox sandbox;
  std::filesystem::create_directory(sandbox.path("tree"));
  ASSERT_EQ(chmod(sandbox.path("tree").c_str(), 0777), 0);
  TreeFolder::openOrMake(sandbox.path("tree"));
  EXPECT_EQ(modeOf(sandbox.path("tree")), 0755U);
}

TEST(TreeFolder, RefusesAPathThatAConfigurationCannotHold) {
  const TreeSandbox sandbox;
  EXPECT_THROW(TreeFolder::openOrMake(sandbox.path("a\nb")), PlatformException);
  EXPECT_THROW(TreeFolder::openOrMake(sandbox.path("a\"b")), PlatformException);
  EXPECT_THROW(TreeFolder::openOrMake("relative"), PlatformException);
}

TEST(TreeFolder, LeavesAFileThatIsRightAlone) {
  const TreeSandbox sandbox;
  const TreeFolder folder = TreeFolder::openOrMake(sandbox.path("tree"));
  EXPECT_TRUE(folder.write("file", "content", 0644));
  EXPECT_FALSE(folder.write("file", "content", 0644));
  EXPECT_TRUE(folder.write("file", "content", 0755));
  EXPECT_TRUE(folder.write("file", "other", 0755));
  EXPECT_EQ(modeOf(sandbox.path("tree/file")), 0755U);
}

TEST(SocketFolder, IsPrivateAndKeptByTheNextRun) {
  const TreeSandbox sandbox;
  const std::string first = chooseSocketFolder(sandbox.path("tools"), ownAccount(), false, "");
  EXPECT_EQ(modeOf(first), 0700U);
  EXPECT_EQ(chooseSocketFolder(sandbox.path("tools"), ownAccount(), false, first), first);
}

TEST(SocketFolder, IsMadeAgainUnderItsNameAfterAReboot) {
  const TreeSandbox sandbox;
  const std::string first = chooseSocketFolder(sandbox.path("tools"), ownAccount(), false, "");
  ASSERT_EQ(rmdir(first.c_str()), 0);
  EXPECT_EQ(chooseSocketFolder(sandbox.path("tools"), ownAccount(), false, first), first);
  EXPECT_EQ(modeOf(first), 0700U);
}

TEST(SocketFolder, IsNotTakenFromWhoeverOpenedItToOthers) {
  const TreeSandbox sandbox;
  const std::string first = chooseSocketFolder(sandbox.path("tools"), ownAccount(), false, "");
  ASSERT_EQ(chmod(first.c_str(), 0770), 0);
  const std::string second = chooseSocketFolder(sandbox.path("tools"), ownAccount(), false, first);
  EXPECT_NE(second, first);
  EXPECT_EQ(modeOf(second), 0700U);
}

TEST(SocketFolder, IsNeverALinkThatSomebodyPlanted) {
  const TreeSandbox sandbox;
  const std::string first = chooseSocketFolder(sandbox.path("tools"), ownAccount(), false, "");
  ASSERT_EQ(rename(first.c_str(), sandbox.path("elsewhere").c_str()), 0);
  ASSERT_EQ(symlink(sandbox.path("elsewhere").c_str(), first.c_str()), 0);
  EXPECT_NE(chooseSocketFolder(sandbox.path("tools"), ownAccount(), false, first), first);
}

TEST(SocketFolder, IsNotAFolderOfSomeOtherName) {
  const TreeSandbox sandbox;
  const std::string tools = sandbox.path("tools");
  ASSERT_EQ(chmod(tools.c_str(), 0700), 0);
  EXPECT_NE(chooseSocketFolder(sandbox.path("proc"), ownAccount(), false, tools), tools);
}

TEST(SocketFolder, FailsWithTheReasonWhenNoneCanBeMade) {
  try {
    chooseSocketFolder("/nonexistent", ownAccount(), false, "");
    FAIL();
  } catch (const PlatformException& failure) {
    EXPECT_EQ(failure.reason(),
              "cannot make a folder for the socket of clamd in /nonexistent: "
              "No such file or directory");
  }
}

}  // namespace
}  // namespace quillo
