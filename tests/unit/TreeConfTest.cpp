#include <gtest/gtest.h>

#include "clamav/ScanLimits.h"
#include "posix/Text.h"
#include "tools/engine-tree/TreePlan.h"

namespace quillo {
namespace {

TreePlan privatePlan() {
  TreePlan plan;
  plan.root = "/home/u/tree";
  plan.programs = {"/usr/sbin/clamd", "/usr/bin/clamdscan", "/usr/bin/freshclam"};
  plan.account = {1000, 1000, "u", "/home/u"};
  plan.socketFolder = "/tmp/vantrel-clamd-1000-abcdef";
  plan.definitions = "/home/u/tree/db";
  plan.definitionsOwner = "u";
  return plan;
}

TreePlan machinePlan() {
  TreePlan plan = privatePlan();
  plan.machine.state = DaemonState::answers;
  plan.machine.configuration = "/etc/clamav/clamd.conf";
  plan.machine.socket = "/run/clamav/clamd.ctl";
  plan.machine.options = ClamConf::parse("MaxFileSize 25M\nMaxThreads 3\n");
  plan.definitions = "/var/lib/clamav";
  return plan;
}

// As a reader does it that knows no comments: the text behind "LocalSocket " of the last line of at
// least 13 characters that contains it.
std::string crudelyReadSocket(const std::string& text) {
  constexpr std::string_view word = "LocalSocket ";
  std::string socket;
  for (const std::string_view line : split(text, '\n')) {
    const std::size_t at = line.find(word);
    if (line.size() >= 13 && at != std::string_view::npos) {
      socket = line.substr(at + word.size(), line.find(word, at + 1) - at - word.size());
    }
  }
  return socket;
}

int linesWith(const std::string& text, std::string_view word) {
  int count = 0;
  for (const std::string_view line : split(text, '\n')) {
    count += line.find(word) != std::string_view::npos ? 1 : 0;
  }
  return count;
}

TEST(ClamConf, TakesAnOptionsFirstLine) {
  const ClamConf conf = ClamConf::parse("MaxFileSize 1M\nMaxFileSize 2M\n");
  EXPECT_EQ(conf.value("MaxFileSize"), "1M");
}

TEST(ClamConf, KnowsNoCommentedOption) {
  const ClamConf conf = ClamConf::parse("#LocalSocket /a\n  # LocalSocket /b\n");
  EXPECT_FALSE(conf.has("LocalSocket"));
  EXPECT_EQ(conf.value("LocalSocket", "none"), "none");
}

TEST(ClamConf, TakesArgumentsWithoutQuotesBlanksAndCarriageReturns) {
  const ClamConf conf = ClamConf::parse("LocalSocket   /a \r\nDatabaseDirectory \"/b c\"\nExample");
  EXPECT_EQ(conf.value("LocalSocket"), "/a");
  EXPECT_EQ(conf.value("DatabaseDirectory"), "/b c");
  EXPECT_TRUE(conf.has("Example"));
}

TEST(ClamConf, AnswersNothingForAMissingFile) {
  EXPECT_FALSE(ClamConf::read("/nonexistent/clamd.conf").has_value());
}

TEST(ClamdConf, NamesThePrivateSocketExactlyOnce) {
  const std::string text = clamdConfText(privatePlan());
  EXPECT_EQ(linesWith(text, "LocalSocket "), 1);
  EXPECT_EQ(crudelyReadSocket(text), "/tmp/vantrel-clamd-1000-abcdef/clamd.sock");
}

TEST(ClamdConf, NamesTheMachinesSocketExactlyOnceAndItsLimits) {
  const std::string text = clamdConfText(machinePlan());
  EXPECT_EQ(linesWith(text, "LocalSocket "), 1);
  EXPECT_EQ(crudelyReadSocket(text), "/run/clamav/clamd.ctl");
  EXPECT_EQ(ClamConf::parse(text).value("MaxFileSize"), "25M");
  EXPECT_FALSE(ClamConf::parse(text).has("MaxThreads"));
}

TEST(ClamdConf, IsNotMisreadWhenAPathContainsTheOptionsName) {
  TreePlan plan = privatePlan();
  plan.definitions = "/home/u/LocalSocket here/db";
  plan.daemonAdditions = "# LocalSocket /c\nLocalSocket /d\nMaxThreads 4";
  const std::string text = clamdConfText(plan);
  EXPECT_EQ(crudelyReadSocket(text), "/tmp/vantrel-clamd-1000-abcdef/clamd.sock");
  EXPECT_EQ(ClamConf::parse(text).value("LocalSocket"), plan.socket());
  EXPECT_EQ(ClamConf::parse(text).value("MaxThreads"), "4");
}

TEST(ClamdConf, GivesTheUsersOwnLinesPrecedence) {
  TreePlan plan = privatePlan();
  plan.daemonAdditions = "MaxFileSize 7M\n";
  EXPECT_EQ(ClamConf::parse(clamdConfText(plan)).value("MaxFileSize"), "7M");
}

TEST(ClamdConf, LetsThePrivateDaemonTakeAsMuchAsTheEngineCan) {
  const ClamConf conf = ClamConf::parse(clamdConfText(privatePlan()));
  EXPECT_EQ(ScanLimits::of(conf).largestFile, engineCeiling);
  // A larger one would have the engine warn of it at every start.
  EXPECT_EQ(conf.size("MaxFileSize"), engineCeiling);
  EXPECT_EQ(conf.size("PCREMaxFileSize"), engineCeiling);
  EXPECT_EQ(conf.size("StreamMaxLength"), engineCeiling);
  EXPECT_GE(conf.size("MaxScanSize").value_or(0), 2 * engineCeiling);
  EXPECT_TRUE(conf.flag("AlertExceedsMax", false));
}

TEST(ClamdConf, NamesTheAccountOnlyToRoot) {
  TreePlan plan = privatePlan();
  EXPECT_FALSE(ClamConf::parse(clamdConfText(plan)).has("User"));
  plan.runsAsRoot = true;
  EXPECT_EQ(ClamConf::parse(clamdConfText(plan)).value("User"), "u");
}

TEST(ClamdConf, OpensTheSocketToOthersOnlyForTheWholeMachine) {
  TreePlan plan = privatePlan();
  EXPECT_EQ(ClamConf::parse(clamdConfText(plan)).value("LocalSocketMode"), "600");
  plan.machineWide = true;
  EXPECT_EQ(ClamConf::parse(clamdConfText(plan)).value("LocalSocketMode"), "666");
}

TEST(ClamdConf, SaysWhatIsTooBigAndReloadsInPlace) {
  const ClamConf conf = ClamConf::parse(clamdConfText(privatePlan()));
  EXPECT_EQ(conf.value("AlertExceedsMax"), "yes");
  EXPECT_EQ(conf.value("ConcurrentDatabaseReload"), "no");
  EXPECT_FALSE(conf.has("LogFile"));
}

TEST(FreshclamConf, DownloadsWhereTheDaemonLooks) {
  TreePlan plan = privatePlan();
  plan.definitions = "/home/u/a b/db";
  plan.updaterAdditions = "HTTPProxyServer localhost\n";
  const ClamConf conf = ClamConf::parse(freshclamConfText(plan));
  EXPECT_EQ(conf.value("DatabaseDirectory"), "/home/u/a b/db");
  EXPECT_EQ(conf.value("DatabaseDirectory"),
            ClamConf::parse(clamdConfText(plan)).value("DatabaseDirectory"));
  EXPECT_EQ(conf.value("NotifyClamd"), "/home/u/tree/etc/clamd.conf");
  EXPECT_EQ(conf.value("DatabaseMirror"), "database.clamav.net");
  EXPECT_EQ(conf.value("HTTPProxyServer"), "localhost");
}

TEST(WrapperConf, NamesTheConfigurationOfTheDaemonThatAnswers) {
  const ClamConf own = ClamConf::parse(wrapperConfText(privatePlan()));
  EXPECT_EQ(own.value("DaemonConfig"), "/home/u/tree/etc/clamd.conf");
  EXPECT_EQ(own.value("RealClient"), "/usr/bin/clamdscan");
  const ClamConf machine = ClamConf::parse(wrapperConfText(machinePlan()));
  EXPECT_EQ(machine.value("DaemonConfig"), "/etc/clamav/clamd.conf");
}

TEST(LaunchConf, IsReadAsItWasWritten) {
  TreePlan plan = machinePlan();
  plan.machineWide = true;
  const LaunchConf launch = parseLaunchConf(launchConfText(plan));
  EXPECT_EQ(launch.daemon, "/usr/sbin/clamd");
  EXPECT_EQ(launch.updater, "/usr/bin/freshclam");
  EXPECT_TRUE(launch.usesMachineDaemon);
  EXPECT_TRUE(launch.machineWide);
  EXPECT_EQ(launch.socketFolder, "/tmp/vantrel-clamd-1000-abcdef");
  EXPECT_EQ(launch.definitions, "/var/lib/clamav");
  EXPECT_FALSE(parseLaunchConf(launchConfText(privatePlan())).usesMachineDaemon);
}

}  // namespace
}  // namespace quillo
