#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <future>
#include <set>

#include "scanning/Dispatcher.h"
#include "tests/fakes/scanning/ScannerBench.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

using std::chrono::seconds;
using Paths = std::vector<std::string>;

// A dispatcher on its own thread, and scanners whose engine finds nothing.
class DispatcherThread : public testing::Test {
 protected:
  DispatcherThread() {
    bench.desktop.preferenceStore.set(
        "ExcludePatterns", PreferenceValue{PreferenceArray{excludePattern("marker", true, false)}});
    for (PatientScanner* scanner : {&first, &second}) {
      scanner->setMyName(
          ScannerBench::uniqueName(testing::UnitTest::GetInstance()->current_test_info()->name() +
                                   std::string(scanner == &first ? "_first" : "_second")));
      scanner->setMenuAndParams(ScannerBench::arguments("/bin/true"), bench.owner.chosen);
    }
  }
  void stopDispatcher(LoopThread& loop) {
    loop.stop([this] { bench.clock.advance(seconds(30)); });
  }
  // A path that is excluded brings a scanner that waits to the end of its round.
  void stopScanner(LoopThread& loop) {
    const std::string marker = bench.file("marker");
    loop.stop([&] {
      bench.makeReady({marker});
      bench.clock.advance(seconds(30));
    });
  }
  // Lets seconds pass until that many paths were scanned; false after half a minute without.
  bool passTimeUntilScanned(std::size_t count) {
    return awaitBy([this](auto) { bench.clock.advance(seconds(1)); },
                   [&] {
                     return bench.pipeline.scannedPaths.waitForCount(count,
                                                                     std::chrono::milliseconds(2));
                   },
                   seconds(30));
  }
  Paths files(const std::string& name, int count) {
    Paths paths;
    for (int index = 0; index < count; ++index) {
      paths.push_back(bench.file(name + std::to_string(index)));
    }
    return paths;
  }
  static Paths sorted(Paths paths) {
    std::sort(paths.begin(), paths.end());
    return paths;
  }

  ScannerBench bench;
  PatientScanner first{bench.owner, bench.services};
  PatientScanner second{bench.owner, bench.services};
};

TEST_F(DispatcherThread, ALostSignalDelaysAFileByThirtySecondsAndStrandsNone) {
  const std::string path = bench.file("a");
  // Between the test for work and the wait: nobody hears this signal.
  bench.clock.beforeNextWait([&](std::unique_lock<std::mutex>& held) {
    held.unlock();
    bench.dispatcher.addStringToItemList(path);
    held.lock();
  });
  LoopThread loop([this] { bench.dispatcher.cycle(); });
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  EXPECT_EQ(bench.dispatcher.lengthOfBothItemLists(), 1U);
  bench.clock.advance(seconds(29));
  EXPECT_EQ(bench.clock.parked(), 1);
  EXPECT_EQ(bench.clock.slept(), Clock::Duration::zero());
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  EXPECT_EQ(bench.clock.slept(), seconds(1));
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.pipeline.stablePaths.waitForCount(1));
  stopDispatcher(loop);
  EXPECT_EQ(bench.dispatcher.scannableCount(), 1);
}

TEST_F(DispatcherThread, ALostSignalDelaysAScannerByThirtySecondsAndStrandsNoFile) {
  const std::string path = bench.file("a");
  bench.clock.beforeNextWait([&](std::unique_lock<std::mutex>& held) {
    held.unlock();
    bench.makeReady({path});
    held.lock();
  });
  LoopThread loop([this] { first.round(); });
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  EXPECT_EQ(bench.dispatcher.scannableCount(), 1);
  bench.clock.advance(seconds(29));
  EXPECT_EQ(bench.clock.parked(), 1);
  EXPECT_EQ(bench.dispatcher.scannableCount(), 1);
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.pipeline.scannedPaths.waitForCount(1));
  stopScanner(loop);
  EXPECT_EQ(bench.pipeline.scannedPaths(), Paths{path});
}

TEST_F(DispatcherThread, AReportedFileIsTakenUpAtOnce) {
  LoopThread loop([this] { bench.dispatcher.cycle(); });
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  bench.dispatcher.addStringToItemList(bench.file("a"));
  EXPECT_TRUE(bench.clock.waitUntilSleeping());
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.pipeline.stablePaths.waitForCount(1));
  EXPECT_EQ(bench.clock.now(), seconds(1));
  stopDispatcher(loop);
}

TEST_F(DispatcherThread, AFileThatGrowsInTheSecondBetweenIsReadyOneSecondLater) {
  const std::string path = bench.file("a");
  bench.dispatcher.addStringToItemList(path);
  LoopThread loop([this] { bench.dispatcher.cycle(); });
  EXPECT_TRUE(bench.clock.waitUntilSleeping());
  bench.file("a", "longer than before");
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  EXPECT_EQ(bench.pipeline.stablePaths(), Paths());
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.pipeline.stablePaths.waitForCount(1));
  stopDispatcher(loop);
}

TEST_F(DispatcherThread, AnArrayOfFilesIsTakenUpAtOnce) {
  LoopThread loop([this] { bench.dispatcher.cycle(); });
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  Paths paths = files("file", 3);
  bench.dispatcher.addToItemList(paths);
  EXPECT_TRUE(bench.clock.waitUntilSleeping());
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.pipeline.stablePaths.waitForCount(3));
  stopDispatcher(loop);
}

TEST_F(DispatcherThread, APromotionWakesAScannerAtOnce) {
  LoopThread loop([this] { first.round(); });
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  bench.makeReady({bench.file("a")});
  EXPECT_TRUE(bench.pipeline.scannedPaths.waitForCount(1));
  EXPECT_EQ(bench.clock.now(), Clock::Duration::zero());
  stopScanner(loop);
}

TEST_F(DispatcherThread, APromotionOfNothingWakesAScannerThatGoesBackToWaiting) {
  std::promise<void> waitsAgain;
  LoopThread loop([this] { first.round(); });
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  bench.clock.beforeNextWait([&](std::unique_lock<std::mutex>&) { waitsAgain.set_value(); });
  bench.dispatcher.moveReadyItemsToScannableList();
  EXPECT_EQ(waitsAgain.get_future().wait_for(seconds(10)), std::future_status::ready);
  EXPECT_EQ(bench.owner.calls(), Paths());
  stopScanner(loop);
  EXPECT_EQ(bench.owner.calls(), Paths());
}

TEST_F(DispatcherThread, AnAbortSparesWhatIsStillInTheIntake) {
  const std::string measured = bench.file("measured");
  const std::string reported = bench.file("reported");
  bench.dispatcher.addStringToItemList(measured);
  LoopThread loop([this] { bench.dispatcher.cycle(); });
  // In the second between the two measurements.
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  bench.dispatcher.addStringToItemList(reported);
  bench.dispatcher.abortScans();
  EXPECT_EQ(bench.dispatcher.lengthOfBothItemLists(), 1U);
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.clock.waitUntilParked(1));
  bench.clock.advance(seconds(1));
  EXPECT_TRUE(bench.pipeline.stablePaths.waitForCount(1));
  stopDispatcher(loop);
  EXPECT_EQ(bench.pipeline.stablePaths(), Paths{reported});
}

TEST_F(DispatcherThread, TwoScannersShareFourHundredAndFiftyFiles) {
  const Paths paths = files("file", 450);
  bench.makeReady(paths);
  LoopThread one([this] { first.round(); });
  LoopThread two([this] { second.round(); });
  EXPECT_TRUE(bench.pipeline.scannedPaths.waitForCount(450));
  stopScanner(one);
  stopScanner(two);
  std::multiset<std::size_t> sizes;
  for (const Paths& batch : bench.pipeline.batches()) {
    sizes.insert(batch.size());
  }
  EXPECT_EQ(sizes, (std::multiset<std::size_t>{50, 200, 200}));
  EXPECT_EQ(sorted(bench.pipeline.scannedPaths()), sorted(paths));
  EXPECT_EQ(bench.owner.runs, 0);
}

TEST_F(DispatcherThread, WhatManyThreadsReportIsScannedOnceEach) {
  constexpr int producers = 4;
  Paths all;
  std::vector<Paths> reports;
  for (int producer = 0; producer < producers; ++producer) {
    reports.push_back(files(std::to_string(producer) + "/file", 150));
    all.insert(all.end(), reports.back().begin(), reports.back().end());
  }
  LoopThread loop([this] { bench.dispatcher.cycle(); });
  LoopThread one([this] { first.round(); });
  LoopThread two([this] { second.round(); });
  JoinedThreads threads;
  for (Paths& paths : reports) {
    threads.start([this, &paths] {
      for (std::size_t index = 0; index < 75; ++index) {
        bench.dispatcher.addStringToItemList(paths[index]);
      }
      Paths rest(paths.begin() + 75, paths.end());
      bench.dispatcher.addToItemList(rest);
    });
  }
  EXPECT_TRUE(passTimeUntilScanned(all.size()));
  threads.join();
  stopDispatcher(loop);
  stopScanner(one);
  stopScanner(two);
  EXPECT_EQ(sorted(bench.pipeline.scannedPaths()), sorted(all));
}

TEST_F(DispatcherThread, StartsStopsAndAbortsMayComeAtAnyMoment) {
  const Paths paths = files("file", 60);
  LoopThread loop([this] { bench.dispatcher.cycle(); });
  LoopThread one([this] { first.round(); });
  LoopThread two([this] { second.round(); });
  JoinedThreads starter([this] {
    for (int start = 0; start < 100; ++start) {
      first.setMenuAndParams(ScannerBench::arguments("/bin/true", {std::to_string(start)}),
                             bench.owner.chosen);
      second.setMenuAndParams(ScannerBench::arguments("/bin/true"), bench.owner.chosen);
    }
  });
  JoinedThreads aborter([this] {
    for (int abort = 0; abort < 100; ++abort) {
      bench.dispatcher.abortScans();
      bench.clock.advance(seconds(1));
    }
  });
  for (const std::string& path : paths) {
    bench.dispatcher.addStringToItemList(path);
  }
  starter.join();
  aborter.join();
  // Whatever was lost to an abort comes through when it is reported again.
  const std::string last = bench.file("last");
  bench.dispatcher.addStringToItemList(last);
  const auto scanned = [&] {
    const Paths done = bench.pipeline.scannedPaths();
    return std::find(done.begin(), done.end(), last) != done.end();
  };
  EXPECT_TRUE(awaitBy(
      [this](auto) {
        bench.clock.advance(seconds(1));
        bench.pipeline.scannedPaths.waitForCount(bench.pipeline.scannedPaths().size() + 1,
                                                 std::chrono::milliseconds(1));
      },
      scanned, seconds(30)));
  stopDispatcher(loop);
  stopScanner(one);
  stopScanner(two);
  EXPECT_EQ(bench.owner.runs, 0);
}

}  // namespace
}  // namespace quillo
