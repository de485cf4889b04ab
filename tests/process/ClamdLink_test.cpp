#include "engine/ClamdLink.h"

#include <gtest/gtest.h>

#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "tests/fakes/FakeClamdLinkOwner.h"
#include "tests/fakes/FakeInterface.h"
#include "tests/fakes/FakeServices.h"
#include "tests/fakes/StdoutCapture.h"
#include "tests/fakes/TemporaryFolder.h"

namespace quillo {
namespace {

using Arguments = std::optional<std::string>;

class ClamdLaunch : public testing::Test {
 protected:
  // A daemon that notes down its arguments, one a line, and then does as told.
  std::string daemon(const std::string& rest) const {
    return folder.writeProgram("sbin/clamd", "#!/bin/sh\n: > '" + notes() +
                                                 "'\nfor word; do echo \"$word\" >> '" + notes() +
                                                 "'; done\n" + rest + "\n");
  }
  std::string notes() const { return folder.path() + "/arguments"; }

  TemporaryFolder folder;
  SystemClock clock;
  FakeLocalizedStrings strings;
  FakeSystemLog log;
  FakeThreads threads;
  FakeClamdLinkOwner owner;
  ClamdLink link{owner, {clock, strings, log, threads}};
};

TEST_F(ClamdLaunch, GivesTheConfigurationBehindTheOption) {
  EXPECT_TRUE(link.launchClamdWithConfigFile(daemon("exit 0"), "/my folder/clamd.conf"));
  EXPECT_EQ(contentsOfFile(notes()), Arguments("-c\n/my folder/clamd.conf\n"));
}

TEST_F(ClamdLaunch, GivesNoArgumentsWithoutAConfiguration) {
  EXPECT_TRUE(link.launchClamdWithConfigFile(daemon("exit 0"), std::nullopt));
  EXPECT_EQ(contentsOfFile(notes()), Arguments(""));
}

TEST_F(ClamdLaunch, FailsOnlyWithStatusOne) {
  EXPECT_FALSE(link.launchClamdWithConfigFile(daemon("exit 1"), std::nullopt));
  EXPECT_TRUE(link.launchClamdWithConfigFile(daemon("exit 2"), std::nullopt));
  EXPECT_TRUE(link.launchClamdWithConfigFile(daemon("exit 127"), std::nullopt));
}

TEST_F(ClamdLaunch, IsNoFailureWhenASignalEndsIt) {
  EXPECT_TRUE(link.launchClamdWithConfigFile(daemon("kill -HUP $$"), std::nullopt));
  EXPECT_TRUE(link.launchClamdWithConfigFile(daemon("kill -KILL $$"), std::nullopt));
}

TEST_F(ClamdLaunch, WaitsForTheProgramAndKeepsTheDesktopAlive) {
  EXPECT_TRUE(
      link.launchClamdWithConfigFile(daemon("echo late >> '" + notes() + "'"), std::nullopt));
  EXPECT_EQ(contentsOfFile(notes()), Arguments("late\n"));
  EXPECT_EQ(owner.calls(), std::vector<std::string>{"wait"});
}

TEST_F(ClamdLaunch, InheritsStandardOutputAndError) {
  StdoutCapture capture;
  link.launchClamdWithConfigFile(daemon("echo out; echo err >&2"), std::nullopt);
  EXPECT_EQ(capture.text(), "out\nerr\n");
}

TEST_F(ClamdLaunch, ThrowsForAProgramThatIsMissingOrCannotBeRun) {
  try {
    link.launchClamdWithConfigFile(folder.write("sbin/clamd", "text"), std::nullopt);
    FAIL() << "was launched";
  } catch (const PlatformException& failure) {
    EXPECT_EQ(failure.reason(), "launch path not accessible");
  }
  EXPECT_THROW(link.launchClamdWithConfigFile("/nonexistent/clamd", std::nullopt),
               PlatformException);
}

TEST_F(ClamdLaunch, RecoversWithTheKnownPathsAndNothingElse) {
  link.setDaemonPaths(daemon("exit 1"), "/etc/my.conf");
  link.recoverFromCrashedClamd();
  EXPECT_EQ(contentsOfFile(notes()), Arguments("-c\n/etc/my.conf\n"));
  EXPECT_EQ(link.clamdSocket(), std::nullopt);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ClamdLaunch, RelaunchesADaemonThatTakesNoPing) {
  link.setDaemonPaths(daemon("exit 0"), folder.write("my.conf", "LocalSocket /nonexistent/s\n"));
  link.discernClamdSocketLocation();
  StdoutCapture quiet;
  link.recoverUnreachableClamd();
  EXPECT_TRUE(fileExists(notes()));
}

TEST_F(ClamdLaunch, FindsARealDaemonAgainSpeaksToItAndEndsIt) {
  const std::string socket = folder.path() + "/clamd.ctl";
  folder.write("db/one.ndb", "One:0:0:6f6e65\n");
  const std::string configuration =
      folder.write("clamd.conf", "LocalSocket " + socket + "\nDatabaseDirectory " + folder.path() +
                                     "/db\nLogFile " + folder.path() + "/clamd.log\n");
  EXPECT_FALSE(link.checkForClamd());
  ASSERT_TRUE(link.launchClamdWithConfigFile("/usr/sbin/clamd", configuration));
  ASSERT_TRUE(link.checkForClamd());
  EXPECT_EQ(link.clamdPATH(), std::optional<std::string>("/usr/sbin/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), std::optional<std::string>(configuration));
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), std::optional<std::string>(socket));
  EXPECT_TRUE(link.clamdStillAlive());
  EXPECT_TRUE(link.hasRealDefinitions());
  link.quitClamd();
}

}  // namespace
}  // namespace quillo
