#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "clamav/ControlSocket.h"
#include "engine/ClamdLink.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "posix/UniqueFd.h"
#include "tests/fakes/agent/FakeClamdLinkOwner.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/StandInProcess.h"
#include "tests/support/StarterCare.h"
#include "tests/support/StdoutCapture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

using Arguments = std::optional<std::string>;

class ClamdLaunch : public testing::Test {
 protected:
  // A daemon that notes down its arguments, one a line, and then does what it is asked.
  std::string daemon(const std::string& rest) const {
    return folder.writeProgram("sbin/clamd", "#!/bin/sh\n: > '" + notes() +
                                                 "'\nfor word; do echo \"$word\" >> '" + notes() +
                                                 "'; done\n" + rest + "\n");
  }
  std::string notes() const { return folder.path() + "/arguments"; }
  std::string socket() const { return folder.path() + "/clamd.ctl"; }
  // For the installed clamd, with one definition.
  std::string realConfiguration() const {
    folder.write("db/one.ndb", "One:0:0:6f6e65\n");
    return folder.write("clamd.conf", "LocalSocket " + socket() + "\nDatabaseDirectory " +
                                          folder.path() + "/db\nPidFile " + folder.path() +
                                          "/clamd.pid\n");
  }
  // Handle of the one that runs with it.
  UniqueFd realDaemon() const {
    const pid_t process = std::stoi(contentsOfFile(folder.path() + "/clamd.pid").value_or("0"));
    return UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
  }
  bool answers() const {
    return pingDaemon(socket(), {geteuid()}, longestWait) == DaemonState::answers;
  }
  static bool hasEnded(const UniqueFd& process) { return awaitReadable(process.get()); }

  TemporaryFolder folder;
  SystemClock clock;
  FakeApplication application;
  FakeLocalizedStrings strings;
  FakeSystemLog log;
  FakeThreads threads;
  FakeClamdLinkOwner owner;
  ClamdLink link{owner, {application, clock, strings, owner, log, threads}};
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
  EXPECT_EQ(application.waits, 1);
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
    EXPECT_EQ(failure.kind(), PlatformException::Kind::cannotLaunch);
    EXPECT_EQ(failure.reason(), "launch path not accessible");
  }
  EXPECT_THROW(link.launchClamdWithConfigFile("/nonexistent/clamd", std::nullopt),
               PlatformException);
}

TEST_F(ClamdLaunch, RecoversWithTheKnownPathsAndNothingElse) {
  link.setDaemonPaths(daemon("exit 1"), "/etc/my.conf");
  EXPECT_FALSE(link.recoverFromCrashedClamd());
  EXPECT_EQ(contentsOfFile(notes()), Arguments("-c\n/etc/my.conf\n"));
  EXPECT_EQ(link.clamdSocket(), std::nullopt);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ClamdLaunch, RecoversWithTheInstallationsProgramWhenTheKnownOneCannotBeRun) {
  owner.root = folder.path();
  daemon("exit 0");
  link.setDaemonPaths("/0 S+   0:00 tail -f /home/anna/clamd.log", std::nullopt);
  link.recoverFromCrashedClamd();
  EXPECT_EQ(contentsOfFile(notes()), Arguments("-c\n" + folder.path() + "/etc/clamd.conf\n"));
}

TEST_F(ClamdLaunch, RecoversWithTheInstallationsProgramWhenTheKnownOneFails) {
  owner.root = folder.path();
  daemon("exit 0");
  link.setDaemonPaths("/bin/false", "/etc/my.conf");
  EXPECT_TRUE(link.recoverFromCrashedClamd());
  EXPECT_EQ(contentsOfFile(notes()), Arguments("-c\n" + folder.path() + "/etc/clamd.conf\n"));
}

TEST_F(ClamdLaunch, RecoversOnceWhenTheKnownProgramIsTheInstallations) {
  owner.root = folder.path();
  link.setDaemonPaths(daemon("exit 1"), folder.path() + "/etc/clamd.conf");
  link.recoverFromCrashedClamd();
  EXPECT_EQ(application.waits, 1);
}

TEST_F(ClamdLaunch, RestartsADaemonThatAReaderOfItsLogWasTakenFor) {
  owner.root = folder.path();
  daemon("exit 0");
  {
    const StandInProcess reader({"tail", "-f", folder.path() + "/clamd.log"});
    ASSERT_TRUE(link.checkForClamd());
  }
  link.recoverFromCrashedClamd();
  EXPECT_EQ(contentsOfFile(notes()), Arguments("-c\n" + folder.path() + "/etc/clamd.conf\n"));
}

TEST_F(ClamdLaunch, RestartsADaemonThatARunningScanWasTakenFor) {
  owner.root = folder.path();
  daemon("exit 0");
  {
    const StandInProcess scan(
        {folder.path() + "/bin/clamdscan", "--fdpass", "--file-list=/tmp/list"});
    ASSERT_TRUE(link.checkForClamd());
  }
  link.recoverFromCrashedClamd();
  EXPECT_EQ(contentsOfFile(notes()), Arguments("-c\n" + folder.path() + "/etc/clamd.conf\n"));
}

TEST_F(ClamdLaunch, RelaunchesADaemonThatTakesNoPing) {
  link.setDaemonPaths(daemon("exit 0"), folder.write("my.conf", "LocalSocket /nonexistent/s\n"));
  link.discernClamdSocketLocation();
  StdoutCapture quiet;
  EXPECT_TRUE(link.recoverUnreachableClamd());
  EXPECT_TRUE(fileExists(notes()));
}

TEST_F(ClamdLaunch, FindsARealDaemonAgainSpeaksToItAndEndsIt) {
  EXPECT_FALSE(link.checkForClamd());
  const StarterCare care([this] { return answers(); });
  ASSERT_TRUE(link.launchClamdWithConfigFile("/usr/sbin/clamd", realConfiguration()));
  ASSERT_TRUE(link.checkForClamd());
  EXPECT_EQ(link.clamdPATH(), std::optional<std::string>("/usr/sbin/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), std::optional<std::string>(realConfiguration()));
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), std::optional<std::string>(socket()));
  EXPECT_TRUE(link.clamdStillAlive());
  EXPECT_TRUE(link.hasRealDefinitions());
  EXPECT_FALSE(link.isServedByAnother());
  const UniqueFd running = realDaemon();
  link.quitClamd();
  EXPECT_TRUE(hasEnded(running));
}

// As a launcher does that finds the machine's own daemon, which no process list shows.
TEST_F(ClamdLaunch, EndsNoDaemonThatWasThereBeforeALaunchThatSucceeded) {
  const StarterCare care([this] { return answers(); });
  ChildProcess({"/usr/sbin/clamd", {"-c", realConfiguration()}}).waitUntilExit();
  ASSERT_TRUE(answers());
  const UniqueFd running = realDaemon();
  link.setDaemonPaths(daemon("exit 0"), realConfiguration());
  ASSERT_TRUE(link.launchClamdWithConfigFile(daemon("exit 0"), realConfiguration()));
  EXPECT_TRUE(link.isServedByAnother());
  link.discernClamdSocketLocation();
  link.quitClamd();
  EXPECT_EQ(log.lines().size(), 2U);
  EXPECT_TRUE(link.clamdStillAlive());
  EXPECT_EQ(syscall(SYS_pidfd_send_signal, running.get(), SIGKILL, nullptr, 0), 0);
  EXPECT_TRUE(hasEnded(running));
}

}  // namespace
}  // namespace quillo
