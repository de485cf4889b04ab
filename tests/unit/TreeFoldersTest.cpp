#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "posix/PlatformException.h"
#include "posix/UniqueFd.h"
#include "tests/fakes/tools/TreeSandbox.h"
#include "tools/engine-tree/SocketFolder.h"
#include "tools/engine-tree/TreeFolder.h"

namespace quillo {
namespace {

Account ownAccount() { return {geteuid(), getegid(), "me", "/"}; }

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

class SocketFolder : public testing::Test {
 protected:
  SocketFolderRequest request(const std::string& remembered = "") const {
    return {sandbox.path("socket-place"), ownAccount(), false, remembered};
  }
  std::string runtimeFolder(mode_t mode = 0700) const {
    std::string folder = sandbox.path("runtime");
    std::filesystem::create_directory(folder);
    EXPECT_EQ(chmod(folder.c_str(), mode), 0);
    return folder;
  }
  std::string place(const std::string& runtime) const {
    MachinePlaces places = sandbox.places();
    places.runtime = runtime;
    return socketPlace(places, false);
  }

  TreeSandbox sandbox;
  const std::string first = keepSocketFolder(request());
};

TEST_F(SocketFolder, IsPrivateAndKeptByTheNextRun) {
  EXPECT_EQ(modeOf(first), 0700U);
  EXPECT_EQ(keepSocketFolder(request(first)), first);
}

TEST_F(SocketFolder, IsMadeAgainUnderItsNameAfterAReboot) {
  ASSERT_EQ(rmdir(first.c_str()), 0);
  EXPECT_EQ(keepSocketFolder(request(first)), first);
  EXPECT_EQ(modeOf(first), 0700U);
}

TEST_F(SocketFolder, IsNotTakenFromWhoeverOpenedItToOthers) {
  ASSERT_EQ(chmod(first.c_str(), 0770), 0);
  const std::string second = keepSocketFolder(request(first));
  EXPECT_NE(second, first);
  EXPECT_EQ(modeOf(second), 0700U);
}

TEST_F(SocketFolder, IsNeverALinkThatSomebodyPlanted) {
  ASSERT_EQ(rename(first.c_str(), sandbox.path("elsewhere").c_str()), 0);
  ASSERT_EQ(symlink(sandbox.path("elsewhere").c_str(), first.c_str()), 0);
  EXPECT_NE(keepSocketFolder(request(first)), first);
  EXPECT_NE(renewSocketFolder(request(first)), first);
}

TEST_F(SocketFolder, IsNotAFolderOfSomeOtherName) {
  const std::string tools = sandbox.path("tools");
  ASSERT_EQ(chmod(tools.c_str(), 0700), 0);
  EXPECT_NE(keepSocketFolder(request(tools)), tools);
  EXPECT_NE(renewSocketFolder(request(tools)), tools);
  EXPECT_TRUE(std::filesystem::exists(tools + "/clamdscan"));
}

TEST_F(SocketFolder, IsMadeAnewUnderItsNameForADaemonAboutToStart) {
  struct stat before = {};
  ASSERT_EQ(stat(first.c_str(), &before), 0);
  std::filesystem::create_directories(first + "/scratch/deep");
  std::ofstream(first + "/scratch/deep/file") << "left over";
  std::ofstream(first + "/clamd.sock") << "left over";
  const std::string target = sandbox.path("tools");
  ASSERT_EQ(symlink(target.c_str(), (first + "/scratch/link").c_str()), 0);
  EXPECT_EQ(renewSocketFolder(request(first)), first);
  EXPECT_TRUE(std::filesystem::is_empty(first));
  EXPECT_TRUE(std::filesystem::exists(target + "/clamdscan"));
  EXPECT_EQ(modeOf(first), 0700U);
}

TEST_F(SocketFolder, IsNotRemovedWhenSomebodyElseHasIt) {
  std::ofstream(first + "/file") << "his";
  ASSERT_EQ(chmod(first.c_str(), 0755), 0);
  EXPECT_NE(renewSocketFolder(request(first)), first);
  EXPECT_TRUE(std::filesystem::exists(first + "/file"));
}

TEST_F(SocketFolder, LeavesNothingBehindInAPlaceThatIsNotTheRightOneAnyMore) {
  const std::string runtime = runtimeFolder();
  SocketFolderRequest moved = request(first);
  moved.place = runtime;
  const std::string second = renewSocketFolder(moved);
  EXPECT_EQ(second.compare(0, runtime.size() + 1, runtime + "/"), 0);
  EXPECT_FALSE(std::filesystem::exists(first));
}

TEST_F(SocketFolder, StaysWhereADaemonMayBeListening) {
  SocketFolderRequest moved = request(first);
  moved.place = runtimeFolder();
  EXPECT_EQ(keepSocketFolder(moved), first);
}

TEST_F(SocketFolder, LiesInTheUsersRuntimeFolderWhereThatIsHisAlone) {
  EXPECT_EQ(place(runtimeFolder()), sandbox.path("runtime"));
  EXPECT_EQ(place(runtimeFolder(0750)), sandbox.places().temporary);
  EXPECT_EQ(place(""), sandbox.places().temporary);
  EXPECT_EQ(place(sandbox.path("missing")), sandbox.places().temporary);
  EXPECT_EQ(place("/"), sandbox.places().temporary);
}

TEST_F(SocketFolder, LiesWhereTheConfinedDaemonMayMakeIt) {
  const std::string runtime = runtimeFolder();
  sandbox.write("machine/apparmor", "Y\n");
  sandbox.write("profiles/usr.sbin.clamd", "");
  EXPECT_EQ(place(runtime), sandbox.places().temporary);
  sandbox.write("machine/apparmor", "N\n");
  EXPECT_EQ(place(runtime), runtime);
}

TEST_F(SocketFolder, HasAnAsciiPathWhateverTheUserIsCalled) {
  const std::string umlaut = sandbox.path("m\xC3\xBCller");
  std::filesystem::create_directory(umlaut);
  ASSERT_EQ(chmod(umlaut.c_str(), 0700), 0);
  EXPECT_EQ(place(umlaut), sandbox.places().temporary);
  const std::string blank = sandbox.path("an na");
  std::filesystem::create_directory(blank);
  ASSERT_EQ(chmod(blank.c_str(), 0700), 0);
  EXPECT_EQ(place(blank), sandbox.places().temporary);
}

TEST_F(SocketFolder, FailsWithTheReasonWhenNoneCanBeMade) {
  SocketFolderRequest nowhere = request();
  nowhere.place = "/nonexistent";
  try {
    keepSocketFolder(nowhere);
    FAIL();
  } catch (const PlatformException& failure) {
    EXPECT_EQ(failure.reason(),
              "cannot make a folder for the socket of clamd in /nonexistent: "
              "No such file or directory");
  }
}

TEST(TreeFolder, LocksAFileThatNobodyElseCanOpen) {
  const TreeSandbox sandbox;
  const TreeFolder folder = TreeFolder::openOrMake(sandbox.path("tree"));
  const UniqueFd turn = folder.lock(".lock");
  EXPECT_EQ(modeOf(sandbox.path("tree/.lock")), 0600U);
  const UniqueFd other(open(sandbox.path("tree/.lock").c_str(), O_RDWR | O_CLOEXEC));
  EXPECT_NE(flock(other.get(), LOCK_EX | LOCK_NB), 0);
}

}  // namespace
}  // namespace quillo
