#include <functional>

#include "scanning/UnscannedFiles.h"
#include "tests/fakes/scanning/ReportFixture.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

// A report of which what the daemon leaves is followed up.
class ScanReportUnscanned : public ReportFixture {
 protected:
  ScanReportUnscanned() { services.unscannedFiles = &files; }

  // One run over the files; what it adds to the scan log.
  std::string loggedForRun(const std::vector<std::string>& paths, const std::string& chunk,
                           bool isAborted = false) {
    report.startRun({Action::leaveInPlace, "", false}, paths);
    StdoutCapture capture;
    report.dealWithOutput(chunk);
    report.endRun(isAborted);
    return capture.text();
  }
  std::string lineOf(const std::string& text) const { return stamp + " " + text + "\n"; }
  Lines logged() { return desktop.systemLog.lines(); }

  const std::string unreachable = "ERROR: Could not connect to clamd on LocalSocket /s: Refused";
  FakeGuardedPlaces places;
  std::vector<Clock::Duration> looks;
  UnscannedFiles files{{clock, desktop.systemLog, dispatcher, owner, places,
                        [this](Clock::Duration time) { looks.push_back(time); }}};
};

TEST_F(ScanReportUnscanned, AFileWithoutALineIsLeftWhenTheDaemonWasNotReached) {
  const std::string log =
      loggedForRun({"/a", "/b", "/c"}, "/a: OK\n" + unreachable + "\n" + unreachable + "\n");
  EXPECT_EQ(log, lineOf("/a: OK") + lineOf(unreachable) + lineOf(unreachable) +
                     lineOf("/b: Not scanned: the daemon cannot be reached") +
                     lineOf("/c: Not scanned: the daemon cannot be reached"));
  EXPECT_EQ(owner.reports(), Lines{"/a = clean"});
  EXPECT_EQ(logged(),
            Lines{"The daemon left 2 files unscanned, to be scanned again once it is back"});
  EXPECT_EQ(looks, std::vector<Clock::Duration>{Clock::Duration()});
  EXPECT_TRUE(files.areWaiting());
}

TEST_F(ScanReportUnscanned, AFileWithoutALineIsNotLeftWhereTheDaemonWasThere) {
  EXPECT_EQ(loggedForRun({"/a", "/folder"}, "/a: OK\n/folder/x: T FOUND\n"),
            lineOf("/a: OK") + lineOf("/folder/x: T FOUND"));
  EXPECT_FALSE(files.areWaiting());
  EXPECT_EQ(logged(), Lines());
}

TEST_F(ScanReportUnscanned, AFileWithoutALineIsLeftByAScannerThatFailed) {
  report.startRun({Action::leaveInPlace, "", false}, {"/a", "/b"});
  StdoutCapture capture;
  report.dealWithOutput("/a: OK\n");
  report.scannerFailed(9);
  report.endRun(false);
  EXPECT_EQ(capture.text(),
            lineOf("/a: OK") + lineOf("/b: Not scanned: the scanner ended with status 9"));
  EXPECT_EQ(logged(), Lines{"The scanner left 1 file unscanned, to be scanned again"});
  EXPECT_EQ(looks, std::vector<Clock::Duration>{Clock::Duration()});
  EXPECT_EQ(loggedForRun({"/c", "/d"}, "/d: OK\n"), lineOf("/d: OK"));
}

// One that could not read its list, or was ended by a signal that looks like a status.
TEST_F(ScanReportUnscanned, FilesAreLeftByAScannerThatSaysNothingOfAny) {
  const std::string unreadable = "ERROR: --file-list: Can't open file /l: no memory";
  report.startRun({Action::leaveInPlace, "", false}, {"/a", "/b"});
  StdoutCapture capture;
  report.dealWithOutput(unreadable + "\n");
  report.scannerEnded();
  report.endRun(false);
  EXPECT_EQ(capture.text(), lineOf(unreadable) +
                                lineOf("/a: Not scanned: the scanner said nothing of it") +
                                lineOf("/b: Not scanned: the scanner said nothing of it"));
  EXPECT_EQ(logged(), Lines{"The scanner left 2 files unscanned, to be scanned again"});
}

// The user hears of it otherwise.
TEST_F(ScanReportUnscanned, FilesOfAScannerThatWasNotRunAreNotLeft) {
  EXPECT_EQ(loggedForRun({"/a"}, ""), "");
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(ScanReportUnscanned, AFileWhoseRunWasAbortedIsNotLeftByTheDaemon) {
  EXPECT_EQ(loggedForRun({"/a"}, unreachable + "\n", true), lineOf(unreachable));
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(ScanReportUnscanned, AFileWhoseRunWasAbortedIsNotLeftByTheScannerThatTheAbortEnded) {
  report.startRun({Action::leaveInPlace, "", false}, {"/a"});
  StdoutCapture capture;
  report.scannerFailed(9);
  report.endRun(true);
  EXPECT_EQ(capture.text(), "");
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(ScanReportUnscanned, TheObserverIsToldOnlyWhenAFileStaysUnscanned) {
  const std::string line = "/a: no reply from clamd";
  for (int time = 0; time < UnscannedFiles::mostTimes; ++time) {
    EXPECT_EQ(loggedForRun({"/a"}, line + "\n"), lineOf(line));
    EXPECT_EQ(owner.reports(), Lines());
    files.reportAnew();
  }
  EXPECT_EQ(loggedForRun({"/a"}, line + "\n"), lineOf(line));
  EXPECT_EQ(owner.reports(), Lines{"/a = not scanned: no reply from clamd"});
  EXPECT_EQ(logged().back(),
            "The daemon left 1 file unscanned 4 times, not to be scanned again before a change");
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(ScanReportUnscanned, WhatHasOtherReasonsIsToldAtOnce) {
  loggedForRun({"/a"}, "/a: Not scanned: permission denied\n");
  EXPECT_EQ(owner.reports(), Lines{"/a = not scanned: permission denied"});
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(ScanReportUnscanned, AVerdictEndsTheWaiting) {
  loggedForRun({"/a"}, "/a: no reply from clamd\n");
  loggedForRun({"/a"}, "/a: OK\n");
  EXPECT_EQ(owner.reports(), Lines{"/a = clean"});
  EXPECT_FALSE(files.areWaiting());
}

}  // namespace
}  // namespace quillo
