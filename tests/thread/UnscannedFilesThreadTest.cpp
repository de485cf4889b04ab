#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>

#include "clamav/Verdict.h"
#include "scanning/Dispatcher.h"
#include "scanning/UnscannedFiles.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

TEST(UnscannedFilesOfTwoScanners, AreEachReportedOnceWhileOthersAreLeftAndJudged) {
  constexpr int files = 2000;
  ManualClock clock;
  FakePlatform desktop;
  FakePipelineObserver pipeline;
  Dispatcher dispatcher(clock, desktop.systemLog, desktop.volumes, &pipeline);
  FakeScanObserver observer;
  FakeGuardedPlaces places;
  std::atomic<int> looks = 0;
  UnscannedFiles unscanned({clock, desktop.systemLog, dispatcher, observer, places,
                            [&looks](Clock::Duration) { ++looks; }});
  // Every second file is judged after all, before or behind its way to the dispatcher.
  const auto scanner = [&unscanned](const std::string& folder) {
    for (int number = 0; number < files; ++number) {
      Verdict verdict;
      verdict.kind = Verdict::Kind::notScanned;
      verdict.path = folder + std::to_string(number);
      verdict.daemonGone = Verdict::DaemonGone::before;
      unscanned.take(verdict);
      if (number % 2 == 1) {
        verdict.kind = Verdict::Kind::clean;
        unscanned.take(verdict);
      }
      unscanned.runEnded({1, 0, 0, false});
    }
  };
  std::atomic<bool> ends = false;
  JoinedThreads daemonIsBack([&] {
    while (!ends) {
      unscanned.reportAnew();
    }
  });
  JoinedThreads scanners([&] { scanner("/first/"); });
  scanners.start([&] { scanner("/second/"); });
  scanners.join();
  ends = true;
  daemonIsBack.join();
  unscanned.reportAnew();
  EXPECT_FALSE(unscanned.areWaiting());
  std::map<std::string, int> reported;
  for (const std::string& path : pipeline.noticedPaths()) {
    EXPECT_EQ(++reported[path], 1) << path;
  }
  for (const std::string folder : {"/first/", "/second/"}) {
    for (int number = 0; number < files; number += 2) {
      EXPECT_EQ(reported.count(folder + std::to_string(number)), 1U);
    }
  }
  EXPECT_GT(looks, 0);
}

}  // namespace
}  // namespace quillo
