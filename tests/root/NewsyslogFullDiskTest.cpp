#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/fakes/tools/LogSandbox.h"

namespace quillo {
namespace {

constexpr uid_t ordinaryUser = 61234;

// Lines that bzip2 cannot make much smaller.
std::string noise(std::size_t size) {
  std::string text;
  std::uint32_t state = 7;
  while (text.size() < size) {
    state = state * 1664525U + 1013904223U;
    text += static_cast<char>(state >> 24U);
  }
  return text;
}

// The log lies on a small file system of its own.
class NewsyslogDisk : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    mountDisk("size=1M");
  }
  void TearDown() override { umount2(sandbox.folder().c_str(), MNT_DETACH); }

  void mountDisk(const char* options) {
    umount2(sandbox.folder().c_str(), MNT_DETACH);
    ASSERT_EQ(mount("none", sandbox.folder().c_str(), "tmpfs", 0, options), 0);
    sandbox.write("scanlogrotate.conf", sandbox.configuration());
  }

  LogSandbox sandbox;
};

TEST_F(NewsyslogDisk, KeepsTheLogWhenThereIsNoRoomToCompressIt) {
  const std::string content = noise(600000);
  sandbox.write("log", content);
  const LogSandbox::Outcome full = sandbox.newsyslog();
  EXPECT_EQ(full.status, 1);
  EXPECT_NE(full.output.find("No space left on device"), std::string::npos) << full.output;
  EXPECT_EQ(sandbox.everything(3), content);
  EXPECT_FALSE(sandbox.has("log.0.bz2.part"));
  EXPECT_TRUE(sandbox.has("log"));
  ASSERT_EQ(mount("none", sandbox.folder().c_str(), "tmpfs", MS_REMOUNT, "size=4M"), 0);
  EXPECT_EQ(sandbox.newsyslog().status, 0);
  EXPECT_EQ(sandbox.unpacked("log.0.bz2"), content);
}

TEST_F(NewsyslogDisk, PutsTheLogBackWhenNoNewOneCanBeMade) {
  mountDisk("size=1M,nr_inodes=3");  // the folder, the configuration, the log
  sandbox.write("log", LogSandbox::lines(1, 3000));
  const LogSandbox::Outcome full = sandbox.newsyslog();
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(sandbox.read("log"), LogSandbox::lines(1, 3000)) << full.output;
  EXPECT_FALSE(sandbox.has("log.0"));
}

TEST_F(NewsyslogDisk, LeavesTheLogInAFolderThatCannotBeWritten) {
  sandbox.write("log", LogSandbox::lines(1, 3000));
  ASSERT_EQ(mount("none", sandbox.folder().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
  const LogSandbox::Outcome refused = sandbox.newsyslog();
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.output.find("Read-only file system"), std::string::npos) << refused.output;
  EXPECT_EQ(sandbox.read("log"), LogSandbox::lines(1, 3000));
}

TEST_F(NewsyslogDisk, GivesTheFilesToTheirOwner) {
  sandbox.write("scanlogrotate.conf", sandbox.path("log") + "\t" + std::to_string(ordinaryUser) +
                                          ":" + std::to_string(ordinaryUser + 1) +
                                          "\t600\t3\t1\t*\tCJN");
  sandbox.write("log", LogSandbox::lines(1, 3000));
  EXPECT_EQ(sandbox.newsyslog().status, 0);
  for (const char* name : {"log", "log.0.bz2"}) {
    struct stat status = {};
    ASSERT_EQ(stat(sandbox.path(name).c_str(), &status), 0) << name;
    EXPECT_EQ(status.st_uid, ordinaryUser);
    EXPECT_EQ(status.st_gid, ordinaryUser + 1);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
  }
}

TEST_F(NewsyslogDisk, ServesAnOrdinaryUserOnlyWhenItIsSaidThatThereIsNoRoot) {
  mountDisk("size=64M");
  // The build folder need not be open to him.
  std::filesystem::copy_file(QUILLO_BINARY_DIR "/resources/engine-tools/newsyslog",
                             sandbox.path("newsyslog"));
  sandbox.write("log", LogSandbox::lines(1, 3000));
  ASSERT_EQ(chown(sandbox.folder().c_str(), ordinaryUser, ordinaryUser), 0);
  ASSERT_EQ(chown(sandbox.path("log").c_str(), ordinaryUser, ordinaryUser), 0);
  const auto runAsUser = [&](const char* options) {
    LaunchRequest request;
    request.launchPath = "/usr/bin/setpriv";
    const std::string user = std::to_string(ordinaryUser);
    request.arguments = {"--reuid",
                         user,
                         "--regid",
                         user,
                         "--clear-groups",
                         "--",
                         QUILLO_BINARY_DIR "/resources/engine-tools/newsyslog",
                         options,
                         sandbox.path("scanlogrotate.conf")};
    request.output = LaunchRequest::Output::inherited;
    return ChildProcess(request).waitUntilExit();
  };
  EXPECT_EQ(runAsUser("-Cf"), 1);
  EXPECT_FALSE(sandbox.has("log.0.bz2"));
  EXPECT_EQ(runAsUser("-Crf"), 0);
  EXPECT_EQ(sandbox.unpacked("log.0.bz2"), LogSandbox::lines(1, 3000));
}

}  // namespace
}  // namespace quillo
