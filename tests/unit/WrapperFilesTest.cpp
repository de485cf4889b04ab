#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/Entry.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

Entry resolved(const std::string& path) { return PathResolver().resolve(path); }

// Makes folders, each by the one before, so that the path may be longer than PATH_MAX.
std::string deepFolder(const TemporaryFolder& scratch, std::size_t length) {
  std::string path = scratch.path();
  UniqueFd folder(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  while (path.size() < length) {
    const std::string name(200, 'd');
    mkdirat(folder.get(), name.c_str(), 0700);
    folder.reset(openat(folder.get(), name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    path += "/" + name;
  }
  return path;
}

TEST(WrapperEntry, IsAFileAsItStands) {
  const TemporaryFolder scratch;
  const Entry entry = resolved(scratch.write("a"));
  EXPECT_EQ(entry.kind, Entry::Kind::file);
  EXPECT_EQ(entry.path, scratch.at("a"));
  EXPECT_FALSE(entry.reachedByLink());
}

TEST(WrapperEntry, StandsForTheTargetOfALink) {
  const TemporaryFolder scratch;
  scratch.write("real/a");
  scratch.link("link", "real/a");
  scratch.link("folder", "real");
  for (const char* name : {"link", "folder/a", "real/../folder/./a"}) {
    const Entry entry = resolved(scratch.at(name));
    EXPECT_EQ(entry.kind, Entry::Kind::file) << name;
    EXPECT_EQ(entry.path, scratch.at("real/a")) << name;
    EXPECT_EQ(entry.shown, scratch.at(name)) << name;
  }
  EXPECT_EQ(resolved(scratch.at("folder")).kind, Entry::Kind::folder);
  EXPECT_EQ(resolved(scratch.at("folder/")).path, scratch.at("real"));
}

TEST(WrapperEntry, SaysWhatALinkLacks) {
  const TemporaryFolder scratch;
  EXPECT_EQ(resolved(scratch.link("dangling", "none")).reason, "dangling symbolic link");
  EXPECT_EQ(resolved(scratch.link("loop", "loop")).reason, "symbolic link that leads to itself");
  EXPECT_EQ(resolved(scratch.at("gone")).reason, "no such file or directory");
  EXPECT_EQ(resolved("").kind, Entry::Kind::unscannable);
}

TEST(WrapperEntry, RefusesWhatIsNoFile) {
  const TemporaryFolder scratch;
  ASSERT_EQ(mkfifo(scratch.at("pipe").c_str(), 0600), 0);
  EXPECT_EQ(resolved(scratch.at("pipe")).reason, "named pipe");
  EXPECT_EQ(resolved(scratch.link("link", "pipe")).reason, "named pipe");
  EXPECT_EQ(resolved("/dev/null").reason, "device");
}

TEST(WrapperEntry, ReachesBehindTheLongestPath) {
  const TemporaryFolder scratch;
  const std::string folder = deepFolder(scratch, 4500);
  const UniqueFd parent = openPath(folder, O_PATH | O_DIRECTORY);
  ASSERT_TRUE(parent);
  const UniqueFd made(openat(parent.get(), "f", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  const Entry entry = resolved(folder + "/f");
  EXPECT_EQ(entry.kind, Entry::Kind::file);
  EXPECT_TRUE(openWithoutLinks(entry.path, O_RDONLY | O_NOFOLLOW));
}

TEST(WrapperPaths, RefuseALinkOnTheWay) {
  const TemporaryFolder scratch;
  scratch.write("real/a");
  scratch.link("folder", "real");
  EXPECT_TRUE(openWithoutLinks(scratch.at("real/a"), O_RDONLY));
  EXPECT_FALSE(openWithoutLinks(scratch.at("folder/a"), O_RDONLY));
}

class WrapperWalk : public testing::Test {
 protected:
  void walk(const std::string& root) {
    const FolderWalk::Visitor visitor = {
        [this](int folder, const char* name, const std::string& path) {
          struct stat status = {};
          EXPECT_EQ(fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW), 0) << path;
          files[path] = static_cast<long>(status.st_size);
          return files.size() < most;
        },
        [this](const std::string& path, std::string_view reason) {
          obstacles[path] = std::string(reason);
        }};
    FolderWalk::through(root, visitor);
  }

  TemporaryFolder scratch;
  std::map<std::string, long> files;
  std::map<std::string, std::string> obstacles;
  std::size_t most = 1000;
};

TEST_F(WrapperWalk, MeetsEveryFile) {
  scratch.write("a", "12345");
  scratch.write("b/c/d", "");
  walk(scratch.path());
  EXPECT_EQ(files, (std::map<std::string, long>{{scratch.at("a"), 5}, {scratch.at("b/c/d"), 0}}));
  EXPECT_TRUE(obstacles.empty());
}

TEST_F(WrapperWalk, EndsWhenItIsAskedTo) {
  scratch.write("a/b");
  scratch.write("c/d");
  most = 1;
  walk(scratch.path());
  EXPECT_EQ(files.size(), 1U);
}

TEST_F(WrapperWalk, PassesOverLinksThatStayInside) {
  scratch.write("in/a");
  scratch.link("in/b/up", "../a");
  scratch.link("in/self", ".");
  walk(scratch.at("in"));
  EXPECT_TRUE(obstacles.empty());
  EXPECT_EQ(files.size(), 1U);
}

TEST_F(WrapperWalk, ReportsLinksThatLeadOutOrNowhere) {
  scratch.write("inside/a");
  scratch.write("in/x");
  scratch.link("in/out", "../inside/a");
  scratch.link("in/dangling", "none");
  scratch.link("in/loop", "loop");
  walk(scratch.at("in"));
  EXPECT_EQ(obstacles.size(), 3U);
  EXPECT_EQ(obstacles[scratch.at("in/out")], "symbolic link to outside of this folder");
  EXPECT_EQ(obstacles[scratch.at("in/dangling")], "dangling symbolic link");
  EXPECT_EQ(obstacles[scratch.at("in/loop")], "symbolic link that leads to itself");
}

TEST_F(WrapperWalk, OpensNoPipe) {
  ASSERT_EQ(mkfifo(scratch.at("pipe").c_str(), 0600), 0);
  walk(scratch.path());
  EXPECT_EQ(obstacles[scratch.at("pipe")], "named pipe");
}

TEST_F(WrapperWalk, SaysWhereItTurnsBack) {
  std::string path = scratch.path();
  for (int i = 0; i < 300; ++i) {
    path += "/d";
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  }
  walk(scratch.path());
  ASSERT_EQ(obstacles.size(), 1U);
  EXPECT_EQ(obstacles.begin()->second, "folders nested too deeply");
}

}  // namespace
}  // namespace quillo::wrapper
