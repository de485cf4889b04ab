#include "posix/PlatformException.h"
#include "tests/fakes/scanning/ReportFixture.h"

namespace quillo {
namespace {

class ScanReportLines : public ReportFixture {};

using Calls = std::vector<std::string>;

TEST_F(ScanReportLines, EachIsLoggedWithATimestampAndOneBlank) {
  EXPECT_EQ(loggedFor("/a: OK\n/b: OK\n"), stamp + " /a: OK\n" + stamp + " /b: OK\n");
}

TEST_F(ScanReportLines, TheTimestampIsLocalTime) {
  setTimeZone("XYZ-5:30");
  EXPECT_EQ(loggedFor("/a: OK\n"), "2026-01-02 08:34:05 /a: OK\n");
}

TEST_F(ScanReportLines, OneChunkHasOneTimestamp) {
  owner.duringRecovery = [this] { clock.advance(std::chrono::seconds(20)); };
  EXPECT_EQ(loggedFor("WARNING: Can't connect to clamd.\n/a: OK\n"),
            stamp + " clamd appears to have died - attempting restart...\n" + stamp + " /a: OK\n");
  EXPECT_EQ(loggedFor("/b: OK\n"), "2026-01-02 03:04:25 /b: OK\n");
}

TEST_F(ScanReportLines, AShortOneIsLoggedAndAnEmptyOneIsNot) {
  EXPECT_EQ(loggedFor("ab\n\n\n"), stamp + " ab\n");
  EXPECT_EQ(loggedFor(""), "");
  EXPECT_EQ(loggedFor("\n"), "");
}

TEST_F(ScanReportLines, OfFiveCharactersThatBeginLikeTheSummaryAreLogged) {
  EXPECT_EQ(loggedFor("-----\nTime:\nInfec\n"),
            stamp + " -----\n" + stamp + " Time:\n" + stamp + " Infec\n");
}

TEST_F(ScanReportLines, OfTheSummaryAreLeftOutButForTheErrors) {
  EXPECT_EQ(loggedFor("\n----------- SCAN SUMMARY -----------\nInfected files: 1\n"
                      "Total errors: 2\nTime: 0.010 sec (0 m 0 s)\n"),
            stamp + " Total errors: 2\n");
}

TEST_F(ScanReportLines, MustBeginLikeTheSummaryToBeLeftOut) {
  EXPECT_EQ(loggedFor(" Time: 1\n"), stamp + "  Time: 1\n");
  EXPECT_EQ(loggedFor("time: 1\n"), stamp + " time: 1\n");
  EXPECT_EQ(loggedFor("/a/-----: OK\n"), stamp + " /a/-----: OK\n");
}

TEST_F(ScanReportLines, CutByTheEndOfAChunkCountAsTwoWithTheirOwnTimestamps) {
  const std::string first = loggedFor("/home/anna/fi");
  clock.advance(std::chrono::seconds(1));
  const std::string second = loggedFor("le: OK\n");
  EXPECT_EQ(first, stamp + " /home/anna/fi\n");
  EXPECT_EQ(second, "2026-01-02 03:04:06 le: OK\n");
}

TEST_F(ScanReportLines, OfAChunkThatIsNotUtf8AreDroppedAll) {
  startRun(Action::moveToTrash);
  EXPECT_EQ(loggedFor("/a: OK\n" + infection + "\n/\xFF: OK\n"), "");
  EXPECT_EQ(owner.calls(), Calls());
  EXPECT_EQ(loggedFor("/next: OK\n"), stamp + " /next: OK\n");
}

TEST_F(ScanReportLines, InOtherLanguagesAreLoggedAsTheyStand) {
  EXPECT_EQ(loggedFor("/h\xC3\xA4user/\xE5\xAE\xB6 %s %n: OK\n"),
            stamp + " /h\xC3\xA4user/\xE5\xAE\xB6 %s %n: OK\n");
}

TEST_F(ScanReportLines, ThatTheDaemonIsGoneRecoversItFirstAndAreReplacedInTheLog) {
  std::string loggedBeforeRecovery;
  StdoutCapture capture;
  owner.duringRecovery = [&] { loggedBeforeRecovery = capture.text(); };
  report.dealWithOutput("/a: OK\nWARNING: Can't connect to clamd.\n");
  EXPECT_EQ(loggedBeforeRecovery, stamp + " /a: OK\n");
  EXPECT_EQ(capture.text(),
            stamp + " /a: OK\n" + stamp + " clamd appears to have died - attempting restart...\n");
  EXPECT_EQ(owner.calls(), Calls{"recover"});
}

TEST_F(ScanReportLines, ThatTheDaemonIsGoneRecoverItEveryTime) {
  loggedFor("WARNING: Can't connect to clamd.\nWARNING: Can't connect to clamd.\n");
  loggedFor("WARNING: Can't connect to clamd.");
  EXPECT_EQ(owner.calls.count("recover"), 3);
}

TEST_F(ScanReportLines, MustSayExactlyThatTheDaemonIsGone) {
  EXPECT_EQ(loggedFor("WARNING: Can't connect to clamd\n"),
            stamp + " WARNING: Can't connect to clamd\n");
  loggedFor("WARNING: Can't connect to clamd. \n");
  loggedFor(" WARNING: Can't connect to clamd.\n");
  EXPECT_EQ(owner.calls(), Calls());
}

TEST_F(ScanReportLines, ThatTheDaemonCannotBeReachedAreLoggedAndRecoverItOnceARun) {
  const std::string line = "ERROR: Could not connect to clamd on LocalSocket /s: Reason";
  startRun(Action::leaveInPlace);
  EXPECT_EQ(loggedFor(line + "\n" + line + "\n"),
            stamp + " " + line + "\n" + stamp + " " + line + "\n");
  EXPECT_EQ(owner.calls(), Calls{"recover unreachable"});
  startRun(Action::leaveInPlace);
  loggedFor(line + "\n");
  EXPECT_EQ(owner.calls.count("recover unreachable"), 2);
}

TEST_F(ScanReportLines, AreLoggedToTheLastAlsoWhenTheDaemonCannotBeLaunched) {
  const std::string line = "ERROR: Could not connect to clamd on LocalSocket /s: Reason";
  owner.duringRecovery = [] {
    throw PlatformException(PlatformException::Kind::cannotLaunch, "NSTask",
                            "launch path not accessible");
  };
  startRun(Action::leaveInPlace);
  EXPECT_EQ(loggedFor(line + "\n/a: Not scanned\n"),
            stamp + " " + line + "\n" + stamp + " /a: Not scanned\n");
  EXPECT_TRUE(desktop.systemLog.has("clamd cannot be restarted: launch path not accessible"));
}

TEST_F(ScanReportLines, ThatJudgeAFileAreReportedAsVerdicts) {
  loggedFor("/a b: c.txt: OK\n" + infection + "\n/x: FOUND\n");
  EXPECT_EQ(owner.reports(),
            (Calls{"/a b: c.txt = clean", "/Users/a/b.zip = Eicar-Test-Signature", "/x = "}));
}

TEST_F(ScanReportLines, ThatJudgeNoFileAreNoVerdicts) {
  loggedFor("/a: No such file or directory. ERROR\nnothing: OK\n: OK\n FOUND\n/a FOUND\n\n");
  EXPECT_EQ(owner.reports(), Calls());
}

TEST_F(ScanReportLines, AreCutAtTheLastColon) {
  EXPECT_EQ(ScanReport::getLastColon(infection), 14);
  EXPECT_EQ(ScanReport::getLastColon("/Users/a/x:y.zip: Name FOUND"), 16);
  EXPECT_EQ(ScanReport::getLastColon(":"), 0);
  EXPECT_EQ(ScanReport::getLastColon("none"), -1);
  EXPECT_EQ(ScanReport::getLastColon(""), -1);
}

class ScanReportFlush : public ReportFixture {};

TEST_F(ScanReportFlush, BringsEachLineToTheLogBeforeTheNextIsDealtWith) {
  StdoutCapture capture;
  std::string atRecovery;
  owner.duringRecovery = [&] { atRecovery = capture.written(); };
  report.dealWithOutput("/a: OK\nWARNING: Can't connect to clamd.\n/b: OK\n");
  EXPECT_EQ(atRecovery, stamp + " /a: OK\n");
}

TEST_F(ScanReportFlush, LeavesNothingOfAChunkBehind) {
  StdoutCapture capture;
  report.dealWithOutput("/a: OK\nWARNING: Can't connect to clamd.\n");
  EXPECT_EQ(capture.written(),
            stamp + " /a: OK\n" + stamp + " clamd appears to have died - attempting restart...\n");
}

TEST_F(ScanReportFlush, FollowsWhatIsShownOfAnInfection) {
  startRun(Action::quarantine);
  StdoutCapture capture;
  std::string atNotification = "not notified";
  bool shownBefore = false;
  owner.duringNotification = [&] {
    atNotification = capture.written();
    shownBefore = !quarantinedDialogs().empty() && quarantinedDialogs()[0]->cameToFront();
  };
  report.dealWithOutput(infection + "\n");
  EXPECT_EQ(atNotification, "");
  EXPECT_TRUE(shownBefore);
  EXPECT_EQ(capture.written(), stamp + " " + infection + "\n");
}

}  // namespace
}  // namespace quillo
