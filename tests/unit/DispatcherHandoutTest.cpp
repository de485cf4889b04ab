#include <filesystem>
#include <set>

#include "tests/fakes/scanning/DispatcherFixture.h"
#include "tests/support/Holdings.h"

namespace quillo {
namespace {

class DispatcherHandout : public DispatcherFixture {};

using Paths = std::vector<std::string>;

TEST_F(DispatcherHandout, FourHundredAndFiftyPathsGoOutInThreeBatches) {
  const Paths paths = manyFiles(450);
  makeReady(paths);
  ASSERT_EQ(dispatcher.scannableCount(), 450);
  std::multiset<std::string> handedOut;
  for (const auto& [size, left] : {std::pair{200U, 250}, {200U, 50}, {50U, 0}}) {
    const Paths taken = batch();
    EXPECT_EQ(taken.size(), size);
    EXPECT_EQ(dispatcher.scannableCount(), left);
    handedOut.insert(taken.begin(), taken.end());
  }
  EXPECT_EQ(handedOut, std::multiset<std::string>(paths.begin(), paths.end()));
  EXPECT_EQ(batch(), Paths());
}

TEST_F(DispatcherHandout, AStormLeavesNoMemoryBehind) {
  constexpr std::size_t little = 64UL * 1024;
  const Paths paths = manyFiles(20'000);
  Dispatcher one(clock, log, volumes, nullptr);
  const std::size_t before = Holdings().bytes;
  {
    Paths reported = paths;
    one.copyItemsToMyItemListFrom(reported);
  }
  one.getItemSizesInMyItemList();
  one.getItemSizesInMyItemList();
  one.moveReadyItemsToScannableList();
  ASSERT_EQ(one.scannableCount(), 20'000);
  for (Paths taken; one.scannableCount() > 0; taken.clear()) {
    one.copyFromDispatchToScanner(taken);
  }
  EXPECT_LE(Holdings().bytes, before + little);
}

TEST_F(DispatcherHandout, ExactlyTwoHundredPathsGoOutAtOnce) {
  makeReady(manyFiles(200));
  EXPECT_EQ(batch().size(), 200U);
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  EXPECT_EQ(batch(), Paths());
}

TEST_F(DispatcherHandout, TwoHundredAndOnePathsLeaveOne) {
  makeReady(manyFiles(201));
  EXPECT_EQ(batch().size(), 200U);
  EXPECT_EQ(dispatcher.scannableCount(), 1);
  EXPECT_EQ(batch().size(), 1U);
}

TEST_F(DispatcherHandout, AppendsToWhatTheScannerHolds) {
  const std::string path = file("a");
  makeReady({path});
  Paths held = {"/held"};
  dispatcher.copyFromDispatchToScanner(held);
  EXPECT_EQ(held, (Paths{"/held", path}));
}

TEST_F(DispatcherHandout, CountsWhatIsReadyAtEveryPromotion) {
  makeReady({file("a")});
  EXPECT_EQ(dispatcher.scannableCount(), 1);
  makeReady({file("b"), file("c")});
  EXPECT_EQ(dispatcher.scannableCount(), 3);
  promote();
  EXPECT_EQ(dispatcher.scannableCount(), 3);
}

TEST_F(DispatcherHandout, PromotionLeavesWhatIsNotReady) {
  const std::string ready = file("ready");
  takeOver({ready, file("empty", "")});
  measure();
  measure();
  promote();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
  EXPECT_EQ(batch(), Paths{ready});
}

TEST_F(DispatcherHandout, AbortForgetsMeasuredAndReadyPaths) {
  makeReady({file("ready")});
  takeOver({file("measured")});
  measure();
  dispatcher.abortScans();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  EXPECT_EQ(batch(), Paths());
}

TEST_F(DispatcherHandout, AbortGivesWhatItForgets) {
  makeReady({file("ready")});
  takeOver({file("measured")});
  dispatcher.addStringToItemList(file("reported"));
  Paths forgotten = dispatcher.abortScans();
  std::sort(forgotten.begin(), forgotten.end());
  EXPECT_EQ(forgotten, (Paths{folder.path() + "/measured", folder.path() + "/ready"}));
}

TEST_F(DispatcherHandout, AbortGivesNothingThatWouldNotHaveGoneOut) {
  const std::string measured = file("measured");
  const std::string volume = folder.makeFolder("Volumes/stick");
  takeOver({measured, folder.makeFolder("folder"), file("empty", ""), volume});
  measure();
  Paths forgotten = dispatcher.abortScans();
  std::sort(forgotten.begin(), forgotten.end());
  EXPECT_EQ(forgotten, (Paths{volume, measured}));
}

TEST_F(DispatcherHandout, AbortGivesNoFolderThatIsToBeDropped) {
  takeOver({folder.makeFolder("folder")});
  measure();
  measure();
  EXPECT_EQ(dispatcher.abortScans(), Paths());
}

TEST_F(DispatcherHandout, AbortLeavesTheIntakeToBeMeasuredInTheNextCycle) {
  const std::string path = file("reported");
  dispatcher.addStringToItemList(path);
  dispatcher.abortScans();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
  dispatcher.cycle();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherHandout, AnAbortedPathMayBeReportedAgain) {
  const std::string path = file("a");
  makeReady({path});
  dispatcher.abortScans();
  dispatcher.addStringToItemList(path);
  dispatcher.cycle();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherHandout, ExpandingAFolderEntersEverythingBelowIt) {
  const std::string root = folder.makeFolder("root");
  const Paths inside = {folder.write("root/file", "1"), folder.write("root/.hidden", "1"),
                        folder.write("root/package.app/inner/deep", "1")};
  dispatcher.expandThisDirectory(root);
  // The three files and the two folders between; not the folder itself.
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 5U);
  measure();
  measure();
  promote();
  Paths expected = inside;
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(batch(), expected);
}

TEST_F(DispatcherHandout, ExpandingDoesNotFollowLinks) {
  const std::string root = folder.makeFolder("root");
  folder.write("elsewhere/file", "1");
  std::filesystem::create_directory_symlink(folder.path() + "/elsewhere", root + "/link");
  dispatcher.expandThisDirectory(root);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
}

TEST_F(DispatcherHandout, ExpandingWhatIsNoFolderEntersNothing) {
  dispatcher.expandThisDirectory(file("file"));
  dispatcher.expandThisDirectory(folder.path() + "/missing");
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(DispatcherHandout, ExpandingAllEntersWhatLiesBelowEachMeasuredFolder) {
  const std::string one = folder.makeFolder("one");
  const std::string two = folder.makeFolder("two");
  folder.write("one/a", "1");
  folder.write("two/b", "1");
  takeOver({one, two, file("plain")});
  dispatcher.expandDirectories();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 5U);
}

// So many paths as there would be files after an archive was unpacked.
class DispatcherMillion : public DispatcherFixture {
 protected:
  using Nanoseconds = std::chrono::steady_clock::duration;

  // Enters that many paths among those to be measured.
  void makeManyMeasured(int count) {
    std::vector<std::string> paths;
    for (int name = 0; name < count; ++name) {
      paths.push_back("/measured/" + std::to_string(name));
    }
    dispatcher.copyItemsToMyItemListFrom(paths);
  }
  // Makes `folders` times 1000 paths ready, all of them names of one thousand files.
  void makeThousandsReady(int folders) {
    const std::string real = folder.makeFolder("f");
    for (int name = 0; name < 1000; ++name) {
      file("f/" + std::to_string(name), "x");
    }
    for (int link = 0; link < folders; ++link) {
      const std::string alias = folder.path() + "/" + std::to_string(link);
      std::filesystem::create_directory_symlink(real, alias);
      std::vector<std::string> paths;
      for (int name = 0; name < 1000; ++name) {
        paths.push_back(alias + "/" + std::to_string(name));
      }
      dispatcher.addToItemList(paths);
    }
    dispatcher.cycle();
  }
  // The shortest of ten: what other programs do meanwhile makes some of them long.
  Nanoseconds timeOfABatch() {
    Nanoseconds shortest = Nanoseconds::max();
    for (int time = 0; time < 10; ++time) {
      std::vector<std::string> paths;
      paths.reserve(Dispatcher::batchLimit);
      const auto start = std::chrono::steady_clock::now();
      dispatcher.copyFromDispatchToScanner(paths);
      shortest = std::min(shortest, std::chrono::steady_clock::now() - start);
      EXPECT_EQ(paths.size(), Dispatcher::batchLimit);
    }
    return shortest;
  }
};

TEST_F(DispatcherMillion, ABatchCostsNoMoreWhenAMillionPathsWait) {
  // Each ready path has cost two measurements, which is what limits their share here.
  makeThousandsReady(100);
  makeManyMeasured(900000);
  ASSERT_EQ(dispatcher.scannableCount() + dispatcher.lengthOfBothItemLists(), 1000000U);
  const Nanoseconds manyWait = timeOfABatch();
  std::vector<std::string> taken;
  while (dispatcher.scannableCount() > 2000) {
    dispatcher.copyFromDispatchToScanner(taken);
    taken.clear();
  }
  const Nanoseconds fewWait = timeOfABatch();
  // A batch whose cost grew with what waits would take fifty times as long.
  EXPECT_LT(manyWait, fewWait * 15);
}

}  // namespace
}  // namespace quillo
