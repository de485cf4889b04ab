#include <gtest/gtest.h>

#include <filesystem>

#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

class OwnFileAtALink : public testing::Test {
 protected:
  void write() { EXPECT_EQ(writeOwnFile("List", path, "mine"), ""); }
  void expectFile() {
    EXPECT_EQ(fs::symlink_status(path).type(), fs::file_type::regular);
    EXPECT_EQ(contentsOfFile(path), std::optional<std::string>("mine"));
  }

  const TemporaryFolder folder;
  const std::string path = folder.path() + "/list";
};

TEST_F(OwnFileAtALink, ReplacesOneThatLeadsNowhere) {
  fs::create_symlink(folder.path() + "/nowhere", path);
  write();
  expectFile();
  EXPECT_FALSE(fs::exists(folder.path() + "/nowhere"));
}

TEST_F(OwnFileAtALink, LeavesWhatItLeadsToAlone) {
  const std::string other = folder.write("other", "of somebody");
  fs::create_symlink(other, path);
  write();
  expectFile();
  EXPECT_EQ(contentsOfFile(other), std::optional<std::string>("of somebody"));
}

}  // namespace
}  // namespace quillo
