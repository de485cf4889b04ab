// A daemon that can unpack nothing calls everything clean; the tree's scanner does not.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/process/FakeClientTree.h"

namespace quillo::wrapper {
namespace {
namespace fs = std::filesystem;

class WrapperScratch : public testing::Test {
 protected:
  WrapperScratch() {
    fs::create_directory(folder);
    tree.addToDaemon("TemporaryDirectory " + folder + "\n");
  }
  std::string notScanned(const std::string& path, const std::string& reason) const {
    return path + ": Not scanned: the engine can make no temporary files in " + folder + ": " +
           reason + "\n";
  }

  FakeClientTree tree;
  const std::string folder = tree.files().at("scratch");
  const std::string clean = tree.file("clean");
};

TEST_F(WrapperScratch, FolderIsLeftAsItWas) {
  EXPECT_EQ(tree.scan({clean}).output, clean + ": OK\n");
  EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(WrapperScratch, FolderThatIsGoneMakesNoFileClean) {
  fs::remove(folder);
  const WrapperRun run = tree.scan({clean});
  EXPECT_EQ(run.output, notScanned(clean, "No such file or directory"));
  EXPECT_EQ(run.status, 2);
}

TEST_F(WrapperScratch, FolderThatIsNoneMakesNoFileClean) {
  fs::remove(folder);
  tree.files().write("scratch", "a file");
  EXPECT_EQ(tree.scan({clean}).output, notScanned(clean, "Not a directory"));
}

TEST_F(WrapperScratch, FolderThatIsGoneKeepsNoFindBack) {
  fs::remove(folder);
  const std::string infected = tree.file("infected");
  EXPECT_EQ(tree.scan({infected}).output, infected + ": Fake.Name FOUND\n");
}

TEST_F(WrapperScratch, FolderThatGoesMeanwhileMakesNoOtherFileClean) {
  const std::string second = tree.file("second");
  // A copy, as the daemon outlives it.
  tree.daemon([scratch = folder](const SessionClamd::Question& question) {
    if (question.content == "second") {
      // It may just hold the folder by which it is tried out.
      fs::rename(scratch, scratch + "-gone");
    }
    return SessionClamd::truth(question);
  });
  const std::string output = tree.scan({clean, second}).output;
  EXPECT_NE(output.find(notScanned(second, "No such file or directory")), std::string::npos)
      << output;
}

}  // namespace
}  // namespace quillo::wrapper
