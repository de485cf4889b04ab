#include <gtest/gtest.h>
#include <unistd.h>

#include "clamav/Daemons.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using namespace std::string_literals;

// A folder of processes as the kernel shows them, in which one process, number 5, is made up.
class ProcessFolder : public testing::Test {
 protected:
  void makeProcess(const std::string& name, const std::string& commandLine,
                   const std::string& users) const {
    folder.write("5/comm", name + "\n");
    folder.write("5/cmdline", commandLine);
    folder.write("5/status", "Name:\t" + name + "\nState:\tS\nUid:\t" + users + "\nGid:\t0\n");
  }
  bool isOf(const std::vector<uid_t>& owners) const {
    return isProcessOf(folder.path(), "5", owners);
  }
  bool isLiveDaemon(const std::string& name, const std::string& commandLine) const {
    makeProcess(name, commandLine, "7\t7\t7\t7");
    return findDaemon({{7}, false, {"/etc/clamav/clamd.conf"}, folder.path()}).has_value();
  }

  TemporaryFolder folder;
};

TEST_F(ProcessFolder, TellsWhoseAProcessIs) {
  makeProcess("clamd", "", "7\t7\t7\t7");
  EXPECT_TRUE(isOf({0, 7}));
  EXPECT_FALSE(isOf({0, 8}));
  EXPECT_FALSE(isProcessOf(folder.path(), "6", {0, 7}));
}

TEST_F(ProcessFolder, TakesAStrangersSetUserIdProgramForNobodyElses) {
  makeProcess("clamd", "", "8\t0\t0\t0");
  EXPECT_FALSE(isOf({0}));
  makeProcess("clamd", "", "0\t0\t8\t0");
  EXPECT_FALSE(isOf({0}));
}

TEST_F(ProcessFolder, TakesRootsProcessInAStrangersLoginForTheStrangers) {
  makeProcess("sudo", "", "0\t0\t0\t0");
  EXPECT_TRUE(isOf({0, 7}));
  folder.write("5/loginuid", "8");
  EXPECT_FALSE(isOf({0, 7}));
  folder.write("5/loginuid", "7");
  EXPECT_TRUE(isOf({0, 7}));
  folder.write("5/loginuid", "4294967295");  // nobody logged in
  EXPECT_TRUE(isOf({0, 7}));
}

TEST_F(ProcessFolder, ShowsALiveDaemonWithoutAConfigurationOrWithOneOfThoseAskedFor) {
  const std::string plain = "/usr/sbin/clamd\0"s;
  EXPECT_TRUE(isLiveDaemon("clamd", plain));
  EXPECT_TRUE(isLiveDaemon("clamd", plain + "-c\0/etc/clamav/clamd.conf\0"s));
  EXPECT_FALSE(isLiveDaemon("clamd", plain + "-c\0/home/u/clamd.conf\0"s));
  EXPECT_FALSE(isLiveDaemon("clamd", ""));
  EXPECT_FALSE(isLiveDaemon("clamdscan", plain));
}

TEST_F(ProcessFolder, ShowsNoDaemonOfAStranger) {
  ASSERT_TRUE(isLiveDaemon("clamd", "/usr/sbin/clamd\0"s));
  makeProcess("clamd", "/usr/sbin/clamd\0"s, "8\t7\t7\t7");
  EXPECT_FALSE(findDaemon({{7}, false, {}, folder.path()}).has_value());
}

TEST(ProcessState, IsAtWorkForThisProcessAndNotForNone) {
  EXPECT_TRUE(isProcessAtWork(getpid()));
  EXPECT_FALSE(isProcessAtWork(0));
}

}  // namespace
}  // namespace quillo
