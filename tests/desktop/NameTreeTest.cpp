#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>

#include "platform/linux/names/NameTree.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

class NameTreeTest : public testing::Test {
 protected:
  std::string at(const std::string& name) const { return disk.path() + "/" + name; }
  void write(const std::string& name) const { disk.write(name, "text"); }
  // Watches the whole folder; what is in it at first is not looked at.
  void watchAll() {
    tree.add(disk.path(), true, false);
    reported();
  }
  // All that is reported until nothing is left to do, sorted and each once.
  Paths reported() {
    Paths paths;
    pollfd events{tree.descriptor(), POLLIN, 0};
    while (tree.step(paths) || poll(&events, 1, 0) > 0) {
    }
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return paths;
  }

  // From now on whatever is on the disk seems to have been there for long.
  void letAgesPass() { clock.advance(std::chrono::hours(24 * 365 * 100)); }

  TemporaryFolder disk;
  ManualClock clock;
  NameTree tree{clock};
};

TEST_F(NameTreeTest, ReportsFilesThatAreMadeRenamedLinkedAndWritten) {
  const TemporaryFolder elsewhere;
  elsewhere.write("far", "text");
  write("old");
  watchAll();
  write("new");
  fs::create_hard_link(at("old"), at("linked"));
  fs::create_symlink("old", at("symlink"));
  fs::rename(elsewhere.path() + "/far", at("moved in"));
  EXPECT_EQ(reported(), (Paths{at("linked"), at("moved in"), at("new"), at("symlink")}));
  fs::rename(at("linked"), at("renamed"));
  std::ofstream(at("old"), std::ios::app) << "more";
  EXPECT_EQ(reported(), (Paths{at("old"), at("renamed")}));
}

TEST_F(NameTreeTest, ReportsNamesInBytesAsTheyAre) {
  watchAll();
  write("line\nbreak \xFF");
  EXPECT_EQ(reported(), Paths{at("line\nbreak \xFF")});
}

TEST_F(NameTreeTest, ReportsNoFoldersAndNoPipes) {
  watchAll();
  fs::create_directory(at("folder"));
  ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
  EXPECT_EQ(reported(), Paths());
}

TEST_F(NameTreeTest, LooksThroughFoldersThatAppear) {
  const TemporaryFolder elsewhere;
  elsewhere.write("whole/a/b/file", "text");
  letAgesPass();
  watchAll();
  fs::create_directories(at("one/two/three"));
  write("one/two/three/file");
  fs::rename(elsewhere.path() + "/whole", at("whole"));
  EXPECT_EQ(reported(), (Paths{at("one/two/three/file"), at("whole/a/b/file")}));
  write("one/two/three/later");
  write("whole/a/b/later");
  EXPECT_EQ(reported(), (Paths{at("one/two/three/later"), at("whole/a/b/later")}));
}

TEST_F(NameTreeTest, KnowsAMovedFolderByItsNewNameAlone) {
  fs::create_directories(at("a/sub"));
  fs::create_directories(at("b"));
  watchAll();
  fs::rename(at("a"), at("b/a"));
  write("b/a/sub/file");
  EXPECT_EQ(reported(), Paths{at("b/a/sub/file")});
  write("b/a/sub/other");
  EXPECT_EQ(reported(), Paths{at("b/a/sub/other")});
}

TEST_F(NameTreeTest, ForgetsFoldersThatAreMovedAwayOrRemoved) {
  const TemporaryFolder elsewhere;
  fs::create_directories(at("away/sub"));
  fs::create_directories(at("gone/sub"));
  watchAll();
  ASSERT_EQ(tree.size(), 5U);
  fs::rename(at("away"), elsewhere.path() + "/away");
  fs::remove_all(at("gone"));
  elsewhere.write("away/sub/file", "text");
  EXPECT_EQ(reported(), Paths());
  EXPECT_EQ(tree.size(), 1U);
}

TEST_F(NameTreeTest, StaysInAFolderThatIsWatchedAlone) {
  fs::create_directories(at("sub"));
  tree.add(disk.path(), false, false);
  reported();
  write("sub/file");
  write("file");
  fs::create_directories(at("new"));
  write("new/file");
  EXPECT_EQ(reported(), Paths{at("file")});
}

TEST_F(NameTreeTest, FollowsNoLinks) {
  const TemporaryFolder elsewhere;
  fs::create_directories(elsewhere.path() + "/sub");
  fs::create_directory_symlink(elsewhere.path(), at("link"));
  watchAll();
  EXPECT_EQ(tree.size(), 1U);
}

TEST_F(NameTreeTest, ReportsWhatCameJustBeforeItWatched) {
  write("sub/file");
  tree.add(disk.path(), true, false);
  EXPECT_EQ(reported(), Paths{at("sub/file")});
}

TEST_F(NameTreeTest, ReportsNothingOfWhatHasLainThereForLong) {
  write("sub/file");
  letAgesPass();
  tree.add(disk.path(), true, false);
  EXPECT_EQ(reported(), Paths());
  EXPECT_EQ(tree.size(), 2U);
}

TEST_F(NameTreeTest, ReportsAllThatIsThereWhenAsked) {
  write("sub/file");
  letAgesPass();
  tree.add(disk.path(), true, true);
  EXPECT_EQ(reported(), Paths{at("sub/file")});
}

TEST_F(NameTreeTest, ReportsNothingOfAFolderThatIsWatchedNoMore) {
  fs::create_directories(at("sub"));
  watchAll();
  tree.remove(disk.path());
  write("sub/file");
  EXPECT_EQ(reported(), Paths());
  EXPECT_EQ(tree.size(), 0U);
}

TEST_F(NameTreeTest, KnowsAnotherFolderOfTheSameName) {
  fs::create_directories(at("place"));
  tree.add(at("place"), true, false);
  reported();
  EXPECT_TRUE(tree.isStillThere(at("place")));
  fs::rename(at("place"), at("old"));
  EXPECT_FALSE(tree.isStillThere(at("place")));
  fs::create_directories(at("place"));
  EXPECT_FALSE(tree.isStillThere(at("place")));
}

TEST_F(NameTreeTest, LosesNothingWhenTheKernelsQueueOverflows) {
  fs::create_directories(at("sub"));
  watchAll();
  // More than fs.inotify.max_queued_events has room for: every file makes at least two events.
  std::ifstream limit("/proc/sys/fs/inotify/max_queued_events");
  std::size_t files = 0;
  limit >> files;
  ASSERT_GT(files, 0U);
  for (std::size_t number = 0; number < files; ++number) {
    ASSERT_EQ(mknod(at("sub/" + std::to_string(number)).c_str(), S_IFREG | 0600, 0), 0);
    ASSERT_EQ(rename(at("sub/" + std::to_string(number)).c_str(),
                     at("sub/n" + std::to_string(number)).c_str()),
              0);
  }
  fs::create_directories(at("late"));
  write("late/file");
  const Paths all = reported();
  EXPECT_EQ(static_cast<std::size_t>(std::count_if(
                all.begin(), all.end(),
                [this](const std::string& path) { return path.starts_with(at("sub/n")); })),
            files);
  EXPECT_EQ(std::count(all.begin(), all.end(), at("late/file")), 1);
}

// Runs `body` in a child whose user may watch so many folders; its answer.
int withLimit(int watches, const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    if (unshare(CLONE_NEWUSER) != 0) {
      _exit(100);
    }
    std::ofstream limit("/proc/sys/user/max_inotify_watches");
    limit << watches << std::flush;
    _exit(limit ? body() : 101);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(NameTreeTest, SaysThatTheSystemRefusesWatchesAndGoesOnWithThoseItHas) {
  for (int number = 0; number < 10; ++number) {
    fs::create_directories(at(std::to_string(number)));
  }
  EXPECT_EQ(withLimit(4,
                      [this] {
                        NameTree limited(clock);
                        limited.add(disk.path(), true, false);
                        Paths paths;
                        while (limited.step(paths)) {
                        }
                        if (!limited.takeRefusal() || limited.takeRefusal()) {
                          return 1;
                        }
                        std::ofstream(at("file")) << "text";
                        paths.clear();
                        limited.step(paths);
                        return paths == Paths{at("file")} ? 0 : 2;
                      }),
            0);
}

}  // namespace
}  // namespace quillo
