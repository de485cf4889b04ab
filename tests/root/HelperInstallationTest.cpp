// What `cmake --install` makes of the helper, and of one that is there already.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "posix/ChildProcess.h"
#include "tests/root/support/helper/StandInAgent.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

struct Installation {
  int status;
  std::string said;
};

class HelperInstallation : public testing::Test {
 protected:
  HelperInstallation() { makeFolder(root); }
  ~HelperInstallation() override { fs::remove_all(root); }

  static Installation install(const std::string& prefix, const std::string& destination = "",
                              uid_t user = 0) {
    const std::string number = std::to_string(user);
    ChildProcess installer({"/usr/bin/setpriv",
                            {"--reuid=" + number, "--regid=" + number, "--clear-groups", "env",
                             "DESTDIR=" + destination, "cmake", "-DCMAKE_INSTALL_PREFIX=" + prefix,
                             "-P", QUILLO_BINARY_DIR "/helper/cmake_install.cmake"}});
    Installation installation;
    installation.status = installer.waitUntilExit([&](std::string_view chunk) {
      installation.said += chunk;
      return true;
    });
    return installation;
  }

  // The place of the helper below a prefix, made for that user.
  std::string placeOf(uid_t user) const {
    for (const char* part : {"", "/lib", "/lib/vantrel-quillo"}) {
      makeFolder(prefix + part);
      check(chown((prefix + part).c_str(), user, user), prefix + part);
    }
    return prefix + "/lib/vantrel-quillo";
  }
  static void makeHelper(const std::string& path, mode_t mode) {
    writeFile(path, "older");
    check(chmod(path.c_str(), mode), path);
  }
  static mode_t modeOf(const std::string& path) {
    struct stat info {};
    check(lstat(path.c_str(), &info), path);
    return info.st_mode;
  }
  static std::string built() { return readFile(QUILLO_BINARY_DIR "/resources/gfslogger"); }
  static bool reports(const Installation& installation, const std::string& words) {
    std::string line = installation.said;
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line.find(words) != std::string::npos;
  }

  const std::string root = "/run/installation";
  const std::string prefix = root + "/prefix";
  const std::string helper = prefix + "/lib/vantrel-quillo/gfslogger";
};

TEST_F(HelperInstallation, ByRootGivesTheBitWhereRootAloneCanWrite) {
  const Installation done = install(prefix);
  EXPECT_EQ(done.status, 0) << done.said;
  EXPECT_EQ(modeOf(helper), mode_t{S_IFREG | 04755});
  EXPECT_EQ(readFile(helper), built());
}

TEST_F(HelperInstallation, OverAHelperInForceKeepsItsBit) {
  makeHelper(placeOf(0) + "/gfslogger", 04755);
  EXPECT_EQ(install(prefix).status, 0);
  EXPECT_EQ(modeOf(helper), mode_t{S_IFREG | 04755});
  EXPECT_EQ(readFile(helper), built());
}

TEST_F(HelperInstallation, WhereOthersCanWriteGivesNoBitAndSaysWhy) {
  makeFolder(root + "/shared", 01777);
  const Installation done = install(root + "/shared/prefix");
  EXPECT_EQ(done.status, 0) << done.said;
  EXPECT_EQ(modeOf(root + "/shared/prefix/lib/vantrel-quillo/gfslogger"), mode_t{S_IFREG | 0755});
  EXPECT_TRUE(reports(done, "not set-user-ID root (" + root + "/shared can be written by others)"))
      << done.said;
}

TEST_F(HelperInstallation, ThatCannotGiveTheBitLeavesAHelperInForceAsItIs) {
  makeHelper(placeOf(ordinaryUser) + "/gfslogger", 04755);
  const Installation done = install(prefix, "", ordinaryUser);
  EXPECT_NE(done.status, 0);
  EXPECT_TRUE(reports(done, "is left as it was")) << done.said;
  EXPECT_EQ(modeOf(helper), mode_t{S_IFREG | 04755});
  EXPECT_EQ(readFile(helper), "older");
}

TEST_F(HelperInstallation, KeepsALinkToAHelperInForce) {
  makeHelper(root + "/gfslogger", 04755);
  placeOf(ordinaryUser);
  fs::create_symlink(root + "/gfslogger", helper);
  const Installation done = install(prefix, "", ordinaryUser);
  EXPECT_EQ(done.status, 0) << done.said;
  EXPECT_TRUE(reports(done, "another build")) << done.said;
  EXPECT_TRUE(fs::is_symlink(helper));
  EXPECT_EQ(modeOf(root + "/gfslogger"), mode_t{S_IFREG | 04755});
  EXPECT_EQ(readFile(root + "/gfslogger"), "older");
}

TEST_F(HelperInstallation, WritesThroughNoLink) {
  // So like the one that is built that it counts as installed already.
  const std::string source = QUILLO_BINARY_DIR "/resources/gfslogger";
  fs::copy_file(source, root + "/other");
  fs::last_write_time(root + "/other", fs::last_write_time(source));
  check(chmod((root + "/other").c_str(), 0700), "chmod");
  placeOf(0);
  for (const char* destination : {"", "/"}) {
    fs::remove(helper);
    fs::create_symlink(root + "/other", helper);
    EXPECT_EQ(install(prefix, destination).status, 0);
    EXPECT_EQ(readFile(helper), built());
    EXPECT_FALSE(fs::is_symlink(helper));
    EXPECT_EQ(modeOf(root + "/other"), mode_t{S_IFREG | 0700});
  }
}

TEST_F(HelperInstallation, ForAPackagerLeavesTheBitToHim) {
  EXPECT_EQ(install("/usr", root + "/package").status, 0);
  const std::string packaged = root + "/package/usr/lib/vantrel-quillo/gfslogger";
  EXPECT_EQ(modeOf(packaged), mode_t{S_IFREG | 0755});
  check(chmod(packaged.c_str(), 04755), packaged);
  EXPECT_EQ(install("/usr", root + "/package").status, 0);
  EXPECT_EQ(modeOf(packaged), mode_t{S_IFREG | 04755});
}

// What packaging/install-helper installs, and what it does not.
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
