#include <cstdlib>
#include <new>

#include "tests/fakes/scanning/DispatcherFixture.h"

namespace {

constexpr int never = -1;
thread_local int successesLeft = never;

}  // namespace

void* operator new(std::size_t size) {
  if (successesLeft == 0) {
    successesLeft = never;
    throw std::bad_alloc();
  }
  if (successesLeft > 0) {
    --successesLeft;
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace quillo {
namespace {

// Makes one allocation of this thread fail: the one after `successes` that succeed. Only while the
// object lives.
class FailingAllocation {
 public:
  explicit FailingAllocation(int successes) { successesLeft = successes; }
  ~FailingAllocation() { successesLeft = never; }
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // Whether it has failed by now.
  bool happened() const { return successesLeft == never; }
};

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

TEST_F(DispatcherIntake, ReportsToTheObserverEveryReport) {
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
