#include "clamav/ProcessList.h"

#include <gtest/gtest.h>

#include "tests/process/StandIn.h"

namespace quillo {
namespace {

TEST(RunningDaemons, AreNoneWhereNoProcessIsOne) { EXPECT_FALSE(findRunningDaemon().has_value()); }

TEST(RunningDaemons, AreFoundWithProgramAndConfiguration) {
  StandIn clamd(
      {"/usr/local/vantrel/sbin/clamd", "--config-file=/usr/local/vantrel/etc/clamd.conf"});
  const auto daemon = findRunningDaemon();
  ASSERT_TRUE(daemon.has_value());
  EXPECT_EQ(daemon->program, "/usr/local/vantrel/sbin/clamd");
  EXPECT_EQ(daemon->configuration, std::optional<std::string>("/usr/local/vantrel/etc/clamd.conf"));
}

TEST(RunningDaemons, AreFoundWithoutAConfiguration) {
  StandIn clamd({"/usr/sbin/clamd"});
  const auto daemon = findRunningDaemon();
  ASSERT_TRUE(daemon.has_value());
  EXPECT_EQ(daemon->program, "/usr/sbin/clamd");
  EXPECT_EQ(daemon->configuration, std::nullopt);
}

TEST(RunningDaemons, AreAlsoProcessesThatOnlyNameThem) {
  StandIn scanner({"/usr/bin/clamdscan", "/home/anna"});
  EXPECT_TRUE(findRunningDaemon().has_value());
}

TEST(RunningDaemons, AreGoneOnceTheyHaveEnded) {
  { StandIn clamd({"/usr/sbin/clamd"}); }
  EXPECT_FALSE(findRunningDaemon().has_value());
}

TEST(RunningDaemons, AreReadWholeHoweverLongTheListIs) {
  const std::string longName(60000, 'x');
  StandIn first({"/a/clamd", longName});
  StandIn second({"/b/clamd", longName});
  StandIn third({"/c/clamd", "-c", "/last.conf"});
  const auto daemon = findRunningDaemon();
  ASSERT_TRUE(daemon.has_value());
  EXPECT_EQ(daemon->configuration, std::optional<std::string>("/last.conf"));
}

}  // namespace
}  // namespace quillo
