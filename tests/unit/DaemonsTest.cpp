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

TEST_F(ProcessFolder, ReportsWhoseAProcessIs) {
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

using Configuration = std::optional<std::string>;

TEST(ProcessList, TakesProgramAndConfigurationFromTheLongOption) {
  const RunningDaemon daemon = parseProcessList(
      "  812 ?        Ssl    0:07 /usr/local/vantrel/sbin/clamd "
      "--config-file=/usr/local/vantrel/etc/clamd.conf\n");
  EXPECT_EQ(daemon.program, "/usr/local/vantrel/sbin/clamd");
  EXPECT_EQ(daemon.configuration, Configuration("/usr/local/vantrel/etc/clamd.conf"));
}

TEST(ProcessList, TakesTheConfigurationFromTheShortOption) {
  const RunningDaemon daemon = parseProcessList(
      "  812 ?        Ssl    0:07 /usr/local/vantrel/sbin/clamd -c /etc/my.conf\n");
  EXPECT_EQ(daemon.program, "/usr/local/vantrel/sbin/clamd");
  EXPECT_EQ(daemon.configuration, Configuration("/etc/my.conf"));
}

TEST(ProcessList, TakesTheWholeTrimmedCommandWithoutAnOption) {
  const RunningDaemon daemon =
      parseProcessList("  812 ?  Ssl  0:07 /usr/sbin/clamd --foreground=true \n");
  EXPECT_EQ(daemon.program, "/usr/sbin/clamd --foreground=true");
  EXPECT_EQ(daemon.configuration, std::nullopt);
}

TEST(ProcessList, PrefersTheLongOptionAlsoBehindAShortOne) {
  const RunningDaemon daemon = parseProcessList("/sbin/clamd -c /a --config-file=/b\n");
  EXPECT_EQ(daemon.program, "/sbin/clamd -c /a");
  EXPECT_EQ(daemon.configuration, Configuration("/b"));
}

TEST(ProcessList, TrimsTheConfigurationAtBothEndsOnly) {
  const RunningDaemon daemon = parseProcessList("/sbin/clamd -c   /my folder/clamd.conf \t\n\n");
  EXPECT_EQ(daemon.configuration, Configuration("/my folder/clamd.conf"));
}

TEST(ProcessList, TakesSeveralLinesForOneText) {
  const RunningDaemon daemon = parseProcessList(
      "1 ? S 0:00 /a/clamd\n2 ? S 0:00 /b/clamd -c /b.conf\n3 ? S 0:00 clamdscan\n");
  EXPECT_EQ(daemon.program, "/a/clamd\n2 ? S 0:00 /b/clamd");
  EXPECT_EQ(daemon.configuration, Configuration("/b.conf\n3 ? S 0:00 clamdscan"));
}

TEST(ProcessList, BeginsAtTheFirstSlashWhereverItStands) {
  EXPECT_EQ(parseProcessList("7 pts/0 S+ 0:00 clamd\n").program, "/0 S+ 0:00 clamd");
}

TEST(ProcessList, BeginsAtTheStartWithoutASlash) {
  const RunningDaemon daemon = parseProcessList("7 ? S 0:00 clamd -c my.conf\n");
  EXPECT_EQ(daemon.program, "7 ? S 0:00 clamd");
  EXPECT_EQ(daemon.configuration, Configuration("my.conf"));
}

TEST(ProcessList, SeesNoOptionAtTheVeryStart) {
  const RunningDaemon daemon = parseProcessList("-c my.conf");
  EXPECT_EQ(daemon.program, "-c my.conf");
  EXPECT_EQ(daemon.configuration, std::nullopt);
}

TEST(ProcessList, SurvivesAnOptionCutOff) {
  EXPECT_EQ(parseProcessList("/clamd --config").configuration, Configuration(""));
  EXPECT_EQ(parseProcessList("/clamd -c").configuration, Configuration(""));
  EXPECT_EQ(parseProcessList("/-c x").program, "");
}

TEST(ProcessList, GivesAnEmptyProgramForNoText) {
  EXPECT_EQ(parseProcessList("").program, "");
  EXPECT_EQ(parseProcessList("").configuration, std::nullopt);
}

}  // namespace
}  // namespace quillo
