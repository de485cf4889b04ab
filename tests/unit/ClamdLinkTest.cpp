#include <gtest/gtest.h>

#include "engine/ClamdLink.h"
#include "posix/PlatformException.h"
#include "tests/fakes/agent/FakeClamdLinkOwner.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/engine/FakeClamd.h"
#include "tests/support/ManualClock.h"
#include "tests/support/StdoutCapture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using Path = std::optional<std::string>;

constexpr const char* hardCoded =
    "Please email this line to support@vantrel.org >After trying again, _clamdSocket == nil, "
    "hard-coding it instead. < Please also include the file at /usr/local/vantrel/etc/clamd.conf";

class ClamdLinkTest : public testing::Test {
 protected:
  std::string socketPath() const { return folder.path() + "/clamd.ctl"; }
  void useSocket(const std::string& socket) {
    link.setDaemonPaths("/x/clamd", folder.write("used.conf", "LocalSocket " + socket + "\n"));
    link.discernClamdSocketLocation();
    log.clear();
  }

  TemporaryFolder folder;
  ManualClock clock;
  FakeApplication application;
  FakeLocalizedStrings strings;
  FakeSystemLog log;
  FakeThreads threads;
  FakeClamdLinkOwner owner;
  std::optional<RunningDaemon> running;
  bool listenerIsOurs = true;
  ClamdLink link{owner,
                 {application, clock, strings, owner, log, threads, [this] { return running; },
                  [this](pid_t, const std::string&) { return listenerIsOurs; }}};
};

TEST_F(ClamdLinkTest, KnowsNoPathsAtFirst) {
  EXPECT_EQ(link.clamdPATH(), std::nullopt);
  EXPECT_EQ(link.clamdConfPATH(), std::nullopt);
  EXPECT_EQ(link.clamdSocket(), std::nullopt);
}

TEST_F(ClamdLinkTest, TakesThePathsOfADaemonThatRuns) {
  running = {"/usr/local/vantrel/sbin/clamd", "/etc/my.conf"};
  EXPECT_TRUE(link.checkForClamd());
  EXPECT_EQ(link.clamdPATH(), Path("/usr/local/vantrel/sbin/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), Path("/etc/my.conf"));
}

TEST_F(ClamdLinkTest, ForgetsTheConfigurationWhenTheDaemonHasNone) {
  link.setDaemonPaths("/old", "/old.conf");
  running = {"/usr/sbin/clamd", std::nullopt};
  EXPECT_TRUE(link.checkForClamd());
  EXPECT_EQ(link.clamdPATH(), Path("/usr/sbin/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), std::nullopt);
}

TEST_F(ClamdLinkTest, ChangesNothingWhenNoDaemonRuns) {
  link.setDaemonPaths("/old", "/old.conf");
  EXPECT_FALSE(link.checkForClamd());
  EXPECT_EQ(link.clamdPATH(), Path("/old"));
  EXPECT_EQ(link.clamdConfPATH(), Path("/old.conf"));
}

TEST_F(ClamdLinkTest, TakesTheInstallationsProgramWhenNoneIsShownThatCanBeRun) {
  owner.root = folder.path();
  running = RunningDaemon{};
  EXPECT_TRUE(link.checkForClamd());
  EXPECT_EQ(link.clamdPATH(), Path(folder.path() + "/sbin/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), Path(folder.path() + "/etc/clamd.conf"));
}

TEST_F(ClamdLinkTest, KeepsTheConfigurationThatIsShownForTheInstallationsProgram) {
  owner.root = folder.path();
  running = RunningDaemon{"", "/etc/my.conf"};
  EXPECT_TRUE(link.checkForClamd());
  EXPECT_EQ(link.clamdPATH(), Path(folder.path() + "/sbin/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), Path("/etc/my.conf"));
}

TEST_F(ClamdLinkTest, KeepsTheKnownPathsWithoutAnInstallation) {
  link.setDaemonPaths("/old", "/old.conf");
  running = RunningDaemon{};
  EXPECT_TRUE(link.checkForClamd());
  EXPECT_EQ(link.clamdPATH(), Path("/old"));
  EXPECT_EQ(link.clamdConfPATH(), Path("/old.conf"));
}

TEST_F(ClamdLinkTest, KnowsWhetherTheDaemonBehindTheInstallationCanUnpack) {
  EXPECT_TRUE(link.canUnpack()) << "without an installation nobody knows";
  owner.root = folder.path();
  const std::string scratch = folder.at("scratch");
  folder.write("etc/clamd.conf", "TemporaryDirectory " + scratch + "\n");
  EXPECT_FALSE(link.canUnpack());
  folder.makeFolder("scratch");
  EXPECT_TRUE(link.canUnpack());
}

TEST_F(ClamdLinkTest, ReadsNoEndlessConfiguration) {
  link.setDaemonPaths("/x/clamd", "/dev/zero");
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path("/tmp/clamd.socket"));
}

TEST_F(ClamdLinkTest, ReadsTheSocketFromTheDaemonsOwnConfiguration) {
  owner.root = folder.path();
  folder.write("etc/clamd.conf", "LocalSocket /of/installation\n");
  link.setDaemonPaths("/x/clamd", folder.write("my.conf", "LocalSocket /of/daemon\n"));
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path("/of/daemon"));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"clamdconfEncoding: 4"});
}

TEST_F(ClamdLinkTest, ReadsTheSocketFromTheInstallationForADaemonWithoutConfiguration) {
  owner.root = folder.path();
  folder.write("etc/clamd.conf", "LocalSocket /of/installation\n");
  link.setDaemonPaths("/x/clamd", std::nullopt);
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path("/of/installation"));
}

TEST_F(ClamdLinkTest, DoesNotReadTheInstallationsFileInsteadOfAnUnreadableOne) {
  owner.root = folder.path();
  folder.write("etc/clamd.conf", "LocalSocket /of/installation\n");
  link.setDaemonPaths("/x/clamd", folder.path() + "/missing.conf");
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path("/tmp/clamd.socket"));
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"clamdconfEncoding: 0", hardCoded}));
}

TEST_F(ClamdLinkTest, HardCodesTheSocketWithoutAnyConfiguration) {
  owner.root = folder.path();
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path("/tmp/clamd.socket"));
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"clamdconfEncoding: 0", hardCoded}));
}

TEST_F(ClamdLinkTest, HardCodesTheSocketWithoutALineForIt) {
  link.setDaemonPaths("/x/clamd", folder.write("my.conf", "TCPSocket 3310\n# \xE4\n"));
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path("/tmp/clamd.socket"));
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"clamdconfEncoding: 5", hardCoded}));
}

TEST_F(ClamdLinkTest, KeepsTheSocketThatAnEarlierReadingFound) {
  useSocket("/earlier");
  link.setDaemonPaths("/x/clamd", folder.write("empty.conf", ""));
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path("/earlier"));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"clamdconfEncoding: 4"});
}

TEST_F(ClamdLinkTest, AnEmptySocketIsASocket) {
  useSocket("/earlier");
  link.setDaemonPaths("/x/clamd", folder.write("my.conf", "xLocalSocket \n"));
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path(""));
}

TEST_F(ClamdLinkTest, ReplacesTheSocketAtALaterReading) {
  useSocket("/earlier");
  link.setDaemonPaths("/x/clamd", folder.write("my.conf", "LocalSocket /later\n"));
  link.discernClamdSocketLocation();
  EXPECT_EQ(link.clamdSocket(), Path("/later"));
}

TEST_F(ClamdLinkTest, PingsTheDaemonAndFindsItAlive) {
  FakeClamd daemon(socketPath());
  useSocket(socketPath());
  EXPECT_TRUE(link.clamdStillAlive());
  ASSERT_EQ(daemon.visits(1).size(), 1U);
  EXPECT_EQ(daemon.visits(1)[0].bytes, std::string("PING\0\0", 6));
}

TEST_F(ClamdLinkTest, FindsADaemonGoneThatTakesNoPing) {
  useSocket(socketPath());
  StdoutCapture quiet;
  EXPECT_FALSE(link.clamdStillAlive());
}

TEST_F(ClamdLinkTest, CountsADaemonWithoutAKnownSocketAsAlive) {
  EXPECT_TRUE(link.clamdStillAlive());
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(ClamdLinkTest, AsksTheDaemonToQuit) {
  FakeClamd daemon(socketPath());
  useSocket(socketPath());
  link.quitClamd();
  ASSERT_EQ(daemon.visits(1).size(), 1U);
  EXPECT_EQ(daemon.visits(1)[0].bytes, std::string("QUIT\0\0", 6));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ClamdLinkTest, AsksNoDaemonToQuitThatItDidNotBringUp) {
  FakeClamd daemon(socketPath());
  useSocket(socketPath());
  listenerIsOurs = false;
  link.quitClamd();
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"No QUIT is sent to the clamd at " + socketPath() +
                                     ", which somebody else has started"});
  ASSERT_EQ(daemon.visits(1).size(), 1U);
  EXPECT_EQ(daemon.visits(1)[0].bytes, "");
}

TEST_F(ClamdLinkTest, IsServedByAnotherWhereSuchADaemonListens) {
  useSocket(socketPath());
  listenerIsOurs = false;
  EXPECT_FALSE(link.isServedByAnother());
  FakeClamd daemon(socketPath());
  EXPECT_TRUE(link.isServedByAnother());
  listenerIsOurs = true;
  EXPECT_FALSE(link.isServedByAnother());
}

TEST_F(ClamdLinkTest, SpeaksToTheDaemonAlsoWithoutAThreadToSpare) {
  NoThreads none;
  ClamdLink poor(owner, {application, clock, strings, owner, log, none, [] { return std::nullopt; },
                         [](pid_t, const std::string&) { return true; }});
  FakeClamd daemon(socketPath());
  poor.setDaemonPaths("/x", folder.write("my.conf", "LocalSocket " + socketPath() + "\n"));
  poor.discernClamdSocketLocation();
  EXPECT_TRUE(poor.clamdStillAlive());
  poor.quitClamd();
  EXPECT_EQ(daemon.visits(2).size(), 2U);
}

TEST_F(ClamdLinkTest, RecoversNothingOnceThePathsAreDropped) {
  useSocket(socketPath());
  link.setDaemonPaths(std::nullopt, std::nullopt);
  EXPECT_TRUE(link.recoverFromCrashedClamd());
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"clamd cannot be restarted: watching has been stopped"});
  link.recoverUnreachableClamd();
  EXPECT_TRUE(owner.calls().empty());
}

TEST_F(ClamdLinkTest, LeavesADaemonAloneThatIsReachable) {
  FakeClamd daemon(socketPath());
  useSocket(socketPath());
  EXPECT_TRUE(link.recoverUnreachableClamd());
  EXPECT_TRUE(owner.calls().empty());
}

TEST_F(ClamdLinkTest, PassesOnThatARecoveryCannotRunTheProgram) {
  link.setDaemonPaths(folder.path() + "/sbin/clamd", std::nullopt);
  EXPECT_THROW(link.recoverFromCrashedClamd(), PlatformException);
  // The lock is free again.
  EXPECT_THROW(link.recoverFromCrashedClamd(), PlatformException);
}

TEST_F(ClamdLinkTest, PanicsByNotificationThenDialog) {
  strings.texts["CLAMDSCAN_ERROR"] = "No engine!";
  link.noEnginePanic({EngineProblem::Kind::notChosen});
  EXPECT_EQ(owner.calls(), (std::vector<std::string>{"error: No engine!", "noEngineWindow"}));
}

TEST_F(ClamdLinkTest, BelievesTheDaemonAboutItsDefinitionsBeforeTheFolder) {
  FakeClamd clamd(socketPath());
  clamd.answerWith(std::string("ClamAV 1.4.3/27823/Wed Nov 18 09:23:41 2026\0", 44));
  useSocket(socketPath());
  const LoadedDefinitions loaded = link.loadedDefinitions();
  EXPECT_TRUE(loaded.real);
  ASSERT_TRUE(loaded.built);
  EXPECT_GT(*loaded.built, std::chrono::system_clock::from_time_t(1794900000));
}

TEST_F(ClamdLinkTest, KnowsThatADaemonHasNotYetLoadedWhatLiesInTheFolder) {
  FakeClamd clamd(socketPath());
  clamd.answerWith(std::string("ClamAV 1.4.3\0", 13));
  folder.write("db/daily.cvd", "x");
  link.setDaemonPaths(
      "/x", folder.write("used.conf", "LocalSocket " + socketPath() + "\nDatabaseDirectory " +
                                          folder.path() + "/db\n"));
  link.discernClamdSocketLocation();
  EXPECT_FALSE(link.loadedDefinitions().real);
}

TEST_F(ClamdLinkTest, JudgesDefinitionsByTheFolderWhereNoDaemonAnswers) {
  const std::string database = folder.makeFolder("db");
  link.setDaemonPaths("/x", folder.write("used.conf", "DatabaseDirectory " + database + "\n"));
  EXPECT_FALSE(link.loadedDefinitions().real);
  folder.write("db/other.ndb", "x");
  EXPECT_TRUE(link.loadedDefinitions().real);
  EXPECT_TRUE(link.loadedDefinitions().built);
  link.setDaemonPaths("/x", folder.write("other.conf", "LocalSocket /nowhere\n"));
  EXPECT_TRUE(link.loadedDefinitions().real);
  EXPECT_FALSE(link.loadedDefinitions().built);
}

TEST_F(ClamdLinkTest, HasRealDefinitionsUnlessTheirFolderIsKnownToHoldNone) {
  EXPECT_TRUE(link.hasRealDefinitions());
  link.setDaemonPaths("/x", folder.write("without.conf", "LocalSocket /a\n"));
  EXPECT_TRUE(link.hasRealDefinitions());
  const std::string database = folder.makeFolder("db");
  link.setDaemonPaths("/x", folder.write("with.conf", "DatabaseDirectory " + database + "\n"));
  EXPECT_FALSE(link.hasRealDefinitions());
  folder.write("db/main.cvd", "x");
  EXPECT_TRUE(link.hasRealDefinitions());
}

}  // namespace
}  // namespace quillo
