#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/linux/names/InotifyDepartures.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

class InotifyDeparturesTest : public testing::Test {
 protected:
  // Counts the questions, and answers them by what lies there.
  void watch(const std::string& path) {
    departures.watch(path, [this, path] {
      ++asked;
      const bool isGone = !fs::exists(path);
      left += isGone ? 1 : 0;
      return isGone;
    });
  }
  // Everything posted and reported so far has been taken in.
  static void settle() {
    bool passed = false;
    postToMain([&] { passed = true; });
    waitUntil([&] { return passed; });
    QCoreApplication::processEvents();
  }

  TemporaryFolder folder;
  std::vector<std::string> problems;
  InotifyDepartures departures{postToMain,
                               [this](const std::string& text) { problems.push_back(text); }};
  int asked = 0;
  int left = 0;
};

TEST_F(InotifyDeparturesTest, ReportAFileThatIsMovedDeletedOrReplacedOnce) {
  const std::string moved = folder.write("moved", "x");
  const std::string deleted = folder.write("deleted", "x");
  watch(moved);
  watch(deleted);
  settle();
  EXPECT_EQ(left, 0);
  fs::rename(moved, folder.path() + "/elsewhere");
  EXPECT_TRUE(waitUntil([&] { return left == 1; }));
  settle();
  // Also while somebody has it open.
  std::ifstream reader(deleted);
  fs::remove(deleted);
  EXPECT_TRUE(waitUntil([&] { return left == 2; }));
  const int before = asked;
  fs::rename(folder.path() + "/elsewhere", moved);
  fs::remove(moved);
  settle();
  EXPECT_EQ(asked, before);
}

TEST_F(InotifyDeparturesTest, AskWhenAnotherFileTakesTheName) {
  const std::string path = folder.write("file", "x");
  watch(path);
  settle();
  const int before = asked;
  fs::rename(folder.write("newer", "y"), path);
  EXPECT_TRUE(waitUntil([&] { return asked > before; }));
}

TEST_F(InotifyDeparturesTest, ReportAFileWhoseFolderIsMoved) {
  const std::string path = folder.write("inner/file", "x");
  watch(path);
  settle();
  fs::rename(folder.path() + "/inner", folder.path() + "/moved");
  EXPECT_TRUE(waitUntil([&] { return left == 1; }));
}

TEST_F(InotifyDeparturesTest, ReportAFileThatWasGoneBefore) {
  watch(folder.path() + "/nothing");
  EXPECT_TRUE(waitUntil([&] { return left == 1; }));
}

TEST_F(InotifyDeparturesTest, AskNothingWhileAFileIsOnlyReadOrWritten) {
  const std::string path = folder.write("file", "x");
  watch(path);
  settle();
  const int before = asked;
  std::ofstream(path, std::ios::app) << "more";
  TemporaryFolder::read(path);
  folder.write("neighbour", "x");
  settle();
  EXPECT_EQ(asked, before);
}

TEST_F(InotifyDeparturesTest, LookAfterTheLatestFilesOnly) {
  std::vector<std::string> paths;
  for (std::size_t i = 0; i <= InotifyDepartures::mostFiles; ++i) {
    paths.push_back(folder.write(std::to_string(i), "x"));
    watch(paths.back());
  }
  settle();
  for (const std::string& path : paths) {
    fs::remove(path);
  }
  EXPECT_TRUE(waitUntil([&] { return left == static_cast<int>(InotifyDepartures::mostFiles); }));
  settle();
  EXPECT_EQ(left, static_cast<int>(InotifyDepartures::mostFiles));
}

TEST_F(InotifyDeparturesTest, LookAfterAFileThatWasFoundTwiceUntilBothHaveLeft) {
  const std::string path = folder.write("file", "x");
  const std::string other = folder.path() + "/other";
  fs::create_hard_link(path, other);
  watch(path);
  watch(other);
  settle();
  fs::remove(path);
  EXPECT_TRUE(waitUntil([&] { return left == 1; }));
  fs::remove(other);
  EXPECT_TRUE(waitUntil([&] { return left == 2; }));
}

TEST(InotifyDeparturesLife, LetGoOfWhatWasPostedWhenTheyAreGone) {
  bool asked = false;
  InotifyDepartures(postToMain, [](const std::string&) {}).watch("/tmp", [&] {
    asked = true;
    return true;
  });
  bool passed = false;
  postToMain([&] { passed = true; });
  EXPECT_TRUE(waitUntil([&] { return passed; }));
  EXPECT_FALSE(asked);
}

}  // namespace
}  // namespace quillo
