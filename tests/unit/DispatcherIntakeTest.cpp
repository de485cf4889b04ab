#include "tests/fakes/scanning/DispatcherFixture.h"
#include "tests/unit/FailingAllocation.h"

namespace quillo {
namespace {

class DispatcherIntake : public DispatcherFixture {};

using Paths = std::vector<std::string>;

TEST_F(DispatcherIntake, StartsWithNothing) {
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  EXPECT_EQ(batch(), Paths());
}

TEST_F(DispatcherIntake, LeavesTheCallersArrayEmpty) {
  Paths reported = {file("a"), file("b")};
  dispatcher.addToItemList(reported);
  EXPECT_TRUE(reported.empty());
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 2U);
}

TEST_F(DispatcherIntake, AcceptsAnEmptyArray) {
  Paths none;
  dispatcher.addToItemList(none);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(DispatcherIntake, AcceptsDuplicatesFoldersAndMissingPaths) {
  const std::string path = file("a");
  for (const std::string& reported : {path, path, folder.path(), folder.path() + "/missing"}) {
    dispatcher.addStringToItemList(reported);
  }
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 4U);
}

TEST_F(DispatcherIntake, LengthCountsReportedAndMeasuredButNotReadyPaths) {
  dispatcher.addStringToItemList(file("reported"));
  takeOver({file("measured")});
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 2U);
  makeReady({file("ready")});
  // The measured one became ready as well.
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
  EXPECT_EQ(dispatcher.scannableCount(), 2);
}

TEST_F(DispatcherIntake, TakingOverEmptiesTheGivenArrayAlsoWhenPathsWereSkipped) {
  const std::string path = file("a");
  Paths paths = {path, path, path};
  dispatcher.copyItemsToMyItemListFrom(paths);
  EXPECT_TRUE(paths.empty());
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
}

TEST_F(DispatcherIntake, TakingOverAMeasuredPathAgainKeepsItsMeasurement) {
  const std::string path = file("a");
  takeOver({path});
  measure();
  takeOver({path});
  measure();
  promote();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherIntake, APathThatWaitsForAScannerIsNotTakenOverAgain) {
  const std::string path = file("a");
  makeReady({path});
  takeOver({path});
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  EXPECT_EQ(batch(), Paths{path});
  EXPECT_EQ(batch(), Paths());
}

TEST_F(DispatcherIntake, APathHandedToAScannerGoesThroughTheSequenceAnew) {
  const std::string path = file("a");
  makeReady({path});
  EXPECT_EQ(batch(), Paths{path});
  dispatcher.addStringToItemList(path);
  dispatcher.cycle();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherIntake, AFileReportedFiftyTimesReachesTheScannersOnce) {
  const std::string path = file("a");
  for (int time = 0; time < 50; ++time) {
    file("a", std::string(static_cast<std::size_t>(time) + 1, 'x'));
    dispatcher.addStringToItemList(path);
  }
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 50U);
  dispatcher.cycle();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  EXPECT_EQ(batch(), Paths{path});
  EXPECT_EQ(batch(), Paths());
}

TEST_F(DispatcherIntake, OneFailureIsLoggedAndTheOtherPathsAreTakenOver) {
  int failures = 0;
  for (int successes = 0; successes < 8; ++successes) {
    Dispatcher fresh(clock, log, volumes, nullptr);
    Paths paths = {file("one"), file("two"), file("three")};
    log.clear();
    bool failed = false;
    {
      FailingAllocation failing(successes);
      fresh.copyItemsToMyItemListFrom(paths);
      failed = failing.happened();
    }
    EXPECT_TRUE(paths.empty());
    EXPECT_EQ(fresh.lengthOfBothItemLists(), failed ? 2U : 3U) << successes;
    EXPECT_EQ(log.lines(),
              failed ? Paths{"Yikes! We just caught a crash.  Here's why std::bad_alloc"} : Paths())
        << successes;
    failures += failed ? 1 : 0;
  }
  EXPECT_GE(failures, 3);
}

TEST_F(DispatcherIntake, ShowsTheObserverEveryReport) {
  Paths reported = {"/a", "/b"};
  dispatcher.addToItemList(reported);
  dispatcher.addStringToItemList("/a");
  EXPECT_EQ(observer.noticedPaths(), (Paths{"/a", "/b", "/a"}));
}

TEST_F(DispatcherIntake, TheLentLockGuardsNothingOfTheDispatchers) {
  dispatcher.getLock4itemList();
  dispatcher.addStringToItemList(file("a"));
  dispatcher.cycle();
  EXPECT_EQ(batch().size(), 1U);
  dispatcher.releaseLock4itemList();
  dispatcher.getLock4itemList();
  dispatcher.releaseLock4itemList();
}

}  // namespace
}  // namespace quillo
