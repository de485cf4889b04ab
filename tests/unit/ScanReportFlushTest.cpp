#include "tests/fakes/scanning/ReportFixture.h"

namespace quillo {
namespace {

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
