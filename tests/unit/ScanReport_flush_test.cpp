#include "tests/unit/ReportFixture.h"

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

}  // namespace
}  // namespace quillo
