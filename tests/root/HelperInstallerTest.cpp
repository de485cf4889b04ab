// What packaging/install-helper installs, and what it does not.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "posix/ChildProcess.h"
#include "tests/root/support/helper/StandInAgent.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

class HelperInstaller : public testing::Test {
 protected:
  HelperInstaller() {
    makeFolder(root);
    makeFolder(build);
    give(build, ordinaryUser);
    writeFile(source, "program");
    give(source, ordinaryUser);
    check(chmod(source.c_str(), 0755), "chmod");
  }
  ~HelperInstaller() override { fs::remove_all(root); }

  static void give(const std::string& path, uid_t user) {
    check(lchown(path.c_str(), user, user), path);
  }

  // What it complains of; nothing when it installed something.
  std::string complaints(const std::string& digest = programsDigest) const {
    std::string said;
    ChildProcess installer({QUILLO_SOURCE_DIR "/packaging/install-helper",
                            {source, digest, std::to_string(ordinaryUser), helper}});
    const int status = installer.waitUntilExit([&](std::string_view chunk) {
      said += chunk;
      return true;
    });
    return status == 0 ? said : "failed: " + said;
  }

  void expectRefusal(const std::string& why) const {
    const std::string said = complaints();
    EXPECT_NE(said.find("The helper is not installed: " + why), std::string::npos) << said;
    EXPECT_FALSE(fs::is_regular_file(helper));
  }

  // sha256sum(1) of "program".
  static constexpr const char* programsDigest =
      "1310ca2c8932dbd118668bd97442558a3e1f546b5e15c69699dfbd6024f548d8";
  const std::string root = "/run/installer";
  const std::string build = root + "/build";
  const std::string source = build + "/gfslogger";
  const std::string place = root + "/lib/quillo";
  const std::string helper = place + "/gfslogger";
};

TEST_F(HelperInstaller, GivesTheBitOfTheUserAndLeavesNothingElse) {
  EXPECT_EQ(complaints(), "");
  struct stat info {};
  check(stat(helper.c_str(), &info), helper);
  EXPECT_EQ(info.st_mode, mode_t{S_IFREG | 04755});
  EXPECT_EQ(info.st_uid, 0U);
  EXPECT_EQ(info.st_gid, 0U);
  EXPECT_EQ(readFile(helper), "program");
  EXPECT_EQ(std::distance(fs::directory_iterator(place), fs::directory_iterator()), 1);
}

TEST_F(HelperInstaller, ExchangesAnOlderOneAndDoesNotWriteIntoIt) {
  makeFolder(root + "/lib");
  makeFolder(place);
  writeFile(helper, "older");
  fs::create_hard_link(helper, root + "/kept");
  EXPECT_EQ(complaints(), "");
  EXPECT_EQ(readFile(helper), "program");
  EXPECT_EQ(readFile(root + "/kept"), "older");
}

TEST_F(HelperInstaller, RefusesAnotherProgramThanWasBuilt) {
  writeFile(source, " and more");
  expectRefusal(source + " is not what was built");
  EXPECT_TRUE(fs::is_empty(place));
}

TEST_F(HelperInstaller, RefusesAProgramThatOthersCouldHaveWritten) {
  check(chmod(source.c_str(), 0757), "chmod");
  expectRefusal(source + " can be written by others");
}

TEST_F(HelperInstaller, RefusesAProgramInAFolderThatOthersCanWrite) {
  check(chmod(build.c_str(), 0777), "chmod");
  expectRefusal(build + " can be written by others");
}

TEST_F(HelperInstaller, RefusesAProgramOfSomebodyElses) {
  give(source, otherUser);
  expectRefusal(source + " belongs to user number 12346");
}

TEST_F(HelperInstaller, RefusesAProgramThatIsALink) {
  fs::rename(source, build + "/real");
  fs::create_symlink(build + "/real", source);
  expectRefusal(source + " is no regular file");
}

TEST_F(HelperInstaller, RefusesAPlaceThatOthersCanWrite) {
  for (const mode_t mode : {0777, 0775, 01777}) {
    makeFolder(root + "/lib", mode);
    expectRefusal(root + "/lib can be written by others");
    fs::remove_all(root + "/lib");
  }
}

TEST_F(HelperInstaller, RefusesAPlaceOfTheUsers) {
  makeFolder(root + "/lib");
  give(root + "/lib", ordinaryUser);
  expectRefusal(root + "/lib belongs to user number 12345");
}

TEST_F(HelperInstaller, RefusesAPlaceBehindALink) {
  makeFolder(root + "/elsewhere");
  fs::create_symlink(root + "/elsewhere", root + "/lib");
  expectRefusal(root + "/lib is no directory");
}

}  // namespace
}  // namespace quillo::tests
