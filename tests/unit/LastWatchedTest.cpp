#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"
#include "watchers/LastWatched.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;

constexpr LastWatched::Time now{seconds(1'800'000'000)};

class LastWatchedTest : public testing::Test {
 protected:
  std::optional<LastWatched::Time> readAfter(const std::string& text) {
    folder.write("state/last-watched", text);
    return file.read(now, problem);
  }

  TemporaryFolder folder;
  LastWatched file{folder.path() + "/state"};
  std::string problem;
};

TEST_F(LastWatchedTest, IsReadAsItWasWritten) {
  EXPECT_EQ(file.write(now - seconds(7)), "");
  EXPECT_EQ(file.read(now, problem), now - seconds(7));
  EXPECT_EQ(file.write(now), "");
  EXPECT_EQ(file.read(now, problem), now);
  EXPECT_FALSE(fs::exists(folder.path() + "/state/last-watched.new"));
}

TEST_F(LastWatchedTest, IsUnknownWhereNothingIsKept) {
  EXPECT_EQ(file.read(now, problem), std::nullopt);
  EXPECT_EQ(problem, "nothing is kept of it");
  file.write(now);
  file.forget();
  EXPECT_EQ(file.read(now, problem), std::nullopt);
}

TEST_F(LastWatchedTest, IsUnknownIfItIsStillToCome) {
  file.write(now + seconds(1));
  EXPECT_EQ(file.read(now, problem), std::nullopt);
  EXPECT_EQ(problem, "the clock was set back since");
}

TEST_F(LastWatchedTest, IsUnknownIfTheFileIsDamaged) {
  const std::string header = "vantrel-quillo last-watched 1\n";
  const std::vector<std::string> damaged = {
      "",
      header,
      header + "17",
      header + "x\n",
      header + "-5\n",
      header + "1 2\n",
      header + "99999999999999999999\n",
      header + "9000000000\n",
      "another 1\n1700000000\n",
      header + "1700000000\n" + std::string(1000, ' ') + "\n"};
  for (const std::string& text : damaged) {
    EXPECT_EQ(readAfter(text), std::nullopt) << text;
    EXPECT_NE(problem, "") << text;
    problem.clear();
  }
  EXPECT_TRUE(readAfter(header + "1700000000\n"));
}

TEST_F(LastWatchedTest, FollowsNoLink) {
  const std::string precious = folder.write("precious", "precious");
  fs::create_directory(folder.path() + "/state");
  for (const char* name : {"/state/last-watched", "/state/last-watched.new"}) {
    fs::create_symlink(precious, folder.path() + name);
  }
  EXPECT_EQ(file.read(now, problem), std::nullopt);
  EXPECT_EQ(file.write(now), "");
  EXPECT_EQ(TemporaryFolder::read(precious), "precious");
  EXPECT_EQ(file.read(now, problem), now);
}

TEST_F(LastWatchedTest, SaysWhyItCannotBeKept) {
  folder.write("state", "no folder");
  EXPECT_NE(file.write(now), "");
}

TEST_F(LastWatchedTest, IsNotReadFromAPipe) {
  fs::create_directory(folder.path() + "/state");
  ASSERT_EQ(mkfifo((folder.path() + "/state/last-watched").c_str(), 0600), 0);
  EXPECT_EQ(file.read(now, problem), std::nullopt);
}

}  // namespace
}  // namespace quillo
