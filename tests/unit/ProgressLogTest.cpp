#include <gtest/gtest.h>

#include "agent/ProgressLog.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

void passEveryStation(ProgressLog& progress) {
  progress.noticed("/a");
  progress.becameStable("/a");
  progress.scanStarted({"/a", "/b"});
  progress.scanEnded({"/a", "/b"}, 1);
  progress.abandoned({"/a"});
}

TEST(ProgressLog, IsSilentUnlessTheUserWantsToKnow) {
  FakeSystemLog log;
  ProgressLog progress(log);
  passEveryStation(progress);
  progress.setEnabled(true);
  progress.setEnabled(false);
  passEveryStation(progress);
  EXPECT_TRUE(log.lines().empty());
}

TEST(ProgressLog, ReportsEveryStationOfEachFile) {
  FakeSystemLog log;
  ProgressLog progress(log);
  progress.setEnabled(true);
  passEveryStation(progress);
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{"Noticed: /a", "Stable: /a", "Scanning: /a", "Scanning: /b",
                                      "Scanned (status 1): /a", "Scanned (status 1): /b",
                                      "Aborted, not scanned: /a"}));
}

}  // namespace
}  // namespace quillo
