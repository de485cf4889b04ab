#include <gtest/gtest.h>

#include "clamav/Daemons.h"

namespace quillo {
namespace {

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
