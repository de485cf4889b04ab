#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "posix/UniqueFd.h"
#include "tests/support/TemporaryFolder.h"
#include "watchers/ChangedFiles.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;
using Time = ChangedFiles::Time;

Time changeOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return Time(std::chrono::seconds(status.st_ctim.tv_sec) +
              std::chrono::nanoseconds(status.st_ctim.tv_nsec));
}

void makeFile(const std::string& path) {
  const UniqueFd file(creat(path.c_str(), 0600));
  EXPECT_TRUE(writeAll(file.get(), "x")) << path;
}

class ChangedFilesTest : public testing::Test {
 protected:
  // A moment later than every change so far, as the file system tells time.
  Time later() {
    const std::string clock = elsewhere.path() + "/clock";
    elsewhere.write("clock", "x");
    const Time now = changeOf(clock);
    while (changeOf(clock) <= now) {
      elsewhere.write("clock", "x");
    }
    return changeOf(clock);
  }

  Paths found(Time since, bool withSubfolders = true) {
    Paths paths;
    ChangedFiles files(since, {[&](const std::string& path) { paths.push_back(path); },
                               [this] { return mostNames-- <= 0; }});
    for (const std::string& place : places) {
      EXPECT_TRUE(files.look(place, withSubfolders));
    }
    count = files.count();
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  std::string at(const std::string& name) const { return folder.path() + "/" + name; }

  TemporaryFolder folder;
  TemporaryFolder elsewhere;
  Paths places{folder.path() + "/"};
  int mostNames = 1'000'000;
  ChangedFiles::Count count;
};

TEST_F(ChangedFilesTest, AreThoseThatChangedAtTheMomentOrLater) {
  folder.write("old", "old");
  folder.write("deep/er/old", "old");
  const Time since = later();
  folder.write("deep/er/new", "new");
  folder.write("changed", "x");
  EXPECT_EQ(found(since), (Paths{at("changed"), at("deep/er/new")}));
  EXPECT_EQ(count.files, 4U);
  EXPECT_EQ(count.folders, 3U);
  later();
  folder.write("last", "x");
  EXPECT_EQ(found(changeOf(at("last"))), Paths{at("last")});
}

TEST_F(ChangedFilesTest, AreAlsoThoseThatWereRenamedOrLinked) {
  elsewhere.write("moved", "x");
  elsewhere.write("linked", "x");
  const Time since = later();
  fs::rename(elsewhere.path() + "/moved", at("moved"));
  fs::create_hard_link(elsewhere.path() + "/linked", at("linked"));
  EXPECT_EQ(found(since), (Paths{at("linked"), at("moved")}));
}

TEST_F(ChangedFilesTest, AreAllThatLieInAFolderThatWasMovedThere) {
  elsewhere.write("whole/below/file", "x");
  folder.write("other/file", "x");
  const Time since = later();
  fs::rename(elsewhere.path() + "/whole", at("whole"));
  EXPECT_EQ(found(since), Paths{at("whole/below/file")});
}

// As an archive may bring it along.
TEST_F(ChangedFilesTest, AreAllOfAMovedFolderThatIsDatedInTheFuture) {
  elsewhere.write("whole/file", "x");
  fs::last_write_time(elsewhere.path() + "/whole",
                      fs::file_time_type::clock::now() + std::chrono::hours(24 * 365));
  const Time since = later();
  fs::rename(elsewhere.path() + "/whole", at("whole"));
  EXPECT_EQ(found(since), Paths{at("whole/file")});
}

TEST_F(ChangedFilesTest, AreNotAllOfAFolderInWhichOneChanged) {
  folder.write("sub/old", "x");
  const Time since = later();
  folder.write("sub/new", "x");
  EXPECT_EQ(found(since), Paths{at("sub/new")});
}

TEST_F(ChangedFilesTest, AreNotAllThatThereAreWhereDescriptorsAreShort) {
  folder.write("sub/file", "x");
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none = {0, before.rlim_max};
  int names = 0;
  ChangedFiles files(Time(), {[](const std::string&) {},
                              [&] {
                                // Before the first name of the folder, which is open by then.
                                return ++names == 2 && setrlimit(RLIMIT_NOFILE, &none) != 0;
                              }});
  EXPECT_TRUE(files.look(folder.path(), true));
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(files.count().unreadable, 1U);
  EXPECT_TRUE(files.count().isShort);
}

TEST_F(ChangedFilesTest, AreNoLinksNorEmptyOnesNorPipes) {
  folder.write("empty", "");
  elsewhere.write("file", "x");
  fs::create_symlink(elsewhere.path() + "/file", at("link"));
  fs::create_directory_symlink(elsewhere.path(), at("links"));
  ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
  EXPECT_EQ(found(Time()), Paths());
}

TEST_F(ChangedFilesTest, BearRealPathsWhereThePlaceIsALink) {
  folder.write("real/file", "x");
  fs::create_directory_symlink("real", at("link"));
  places = {at("link/")};
  EXPECT_EQ(found(Time()), Paths{at("real/file")});
}

TEST_F(ChangedFilesTest, AreToldOnceWherePlacesOverlap) {
  folder.write("sub/file", "x");
  places = {folder.path() + "/", at("sub/"), folder.path() + "/"};
  EXPECT_EQ(found(Time()), Paths{at("sub/file")});
  EXPECT_EQ(count.files, 1U);
}

TEST_F(ChangedFilesTest, AreThoseOfTheFolderAloneWithoutItsSubfolders) {
  folder.write("file", "x");
  folder.write("sub/file", "x");
  EXPECT_EQ(found(Time(), false), Paths{at("file")});
}

TEST_F(ChangedFilesTest, AreTheFileItselfWhereThePlaceIsOne) {
  folder.write("file", "x");
  places = {at("file")};
  EXPECT_EQ(found(Time()), Paths{at("file")});
  EXPECT_EQ(found(later()), Paths());
}

TEST_F(ChangedFilesTest, AreFoundBelowMoreFoldersThanMayBeOpenAtOnce) {
  std::string path = folder.path();
  for (int depth = 0; depth < 300; ++depth) {
    path += "/d";
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    if (depth % 100 == 70) {
      ASSERT_EQ(mkdir((path + "/e").c_str(), 0700), 0);
      makeFile(path + "/e/file");
    }
  }
  makeFile(path + "/file");
  EXPECT_EQ(found(Time()).size(), 4U);
  EXPECT_EQ(count.folders, 304U);
}

TEST_F(ChangedFilesTest, AreFoundAtTheLongestPathAndNotBeyond) {
  const std::string name(200, 'n');
  std::string path = folder.path();
  while (path.size() + name.size() + 1 < 4080) {
    path += "/" + name;
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  }
  const std::string longest = path + "/" + std::string(4094 - path.size(), 'f');
  makeFile(longest);
  const UniqueFd below(open(path.c_str(), O_PATH | O_DIRECTORY));
  const std::string beyond(4095 - path.size(), 'g');
  UniqueFd file(openat(below.get(), beyond.c_str(), O_CREAT | O_WRONLY, 0600));
  ASSERT_TRUE(writeAll(file.get(), "x"));
  EXPECT_EQ(found(Time()), Paths{longest});
  unlinkat(below.get(), beyond.c_str(), 0);
}

TEST_F(ChangedFilesTest, AreNoMoreOnceTheLookIsOver) {
  for (int number = 0; number < 100; ++number) {
    folder.write("file" + std::to_string(number), "x");
  }
  mostNames = 10;
  EXPECT_LT(found(Time()).size(), 10U);
}

TEST_F(ChangedFilesTest, AreSearchedOnWhereAFolderVanishes) {
  folder.write("file", "x");
  places = {at("gone/"), folder.path() + "/"};
  EXPECT_EQ(found(Time()), Paths{at("file")});
  EXPECT_EQ(count.unreadable, 1U);
}

TEST_F(ChangedFilesTest, AreNotLookedForInTheKernelsOwnFiles) {
  places = {"/proc/"};
  EXPECT_EQ(found(Time()), Paths());
  EXPECT_EQ(count.folders, 0U);
}

}  // namespace
}  // namespace quillo
