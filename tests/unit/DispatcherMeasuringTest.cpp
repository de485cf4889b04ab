#include <unistd.h>

#include "tests/fakes/scanning/DispatcherFixture.h"

namespace quillo {
namespace {

class DispatcherMeasuring : public DispatcherFixture {};

using Paths = std::vector<std::string>;

TEST_F(DispatcherMeasuring, AFileThatHoldsStillIsReadyAfterOneCycleOfOneSecond) {
  const std::string path = file("a");
  dispatcher.addStringToItemList(path);
  dispatcher.cycle();
  EXPECT_EQ(slept(), std::chrono::seconds(1));
  EXPECT_EQ(dispatcher.scannableCount(), 1);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherMeasuring, OneMeasurementIsNotEnough) {
  takeOver({file("a")});
  measure();
  promote();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
}

TEST_F(DispatcherMeasuring, AFileStillGrowingIsReadyAtTheNextCyclesFirstMeasurement) {
  const std::string path = file("a", "1");
  takeOver({path});
  measure();
  file("a", "12");
  measure();
  promote();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  // The next cycle: its first measurement agrees with the last one.
  measure();
  promote();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherMeasuring, OnlyMeasurementsInARowCount) {
  takeOver({file("a", "1")});
  measure();
  file("a", "12");
  measure();
  file("a", "1");
  measure();
  promote();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
}

TEST_F(DispatcherMeasuring, AFileThatGrowsOnceReadyStaysReady) {
  const std::string path = file("a");
  takeOver({path});
  measure();
  measure();
  file("a", "more than before");
  measure();
  promote();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherMeasuring, AnEmptyFileKeepsTheDispatcherCyclingOnceASecondAndIsNeverReady) {
  dispatcher.addStringToItemList(file("empty", ""));
  for (int second = 1; second <= 5; ++second) {
    dispatcher.cycle();
    EXPECT_EQ(slept(), std::chrono::seconds(second));
    EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
    EXPECT_EQ(dispatcher.scannableCount(), 0);
  }
}

TEST_F(DispatcherMeasuring, AnEmptyFileThatGrowsIsReadyWhenItHoldsStill) {
  const std::string path = file("empty", "");
  dispatcher.addStringToItemList(path);
  dispatcher.cycle();
  file("empty", "no longer");
  dispatcher.cycle();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherMeasuring, AFileCutToNothingIsNotReady) {
  takeOver({file("a")});
  measure();
  file("a", "");
  measure();
  measure();
  promote();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
}

TEST_F(DispatcherMeasuring, SizesAreComparedIn64Bits) {
  const std::string path = file("sparse", "12345");
  takeOver({path});
  measure();
  ASSERT_EQ(truncate(path.c_str(), (off_t{1} << 32) + 5), 0);
  measure();
  promote();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  measure();
  promote();
  EXPECT_EQ(dispatcher.scannableCount(), 1);
}

TEST_F(DispatcherMeasuring, AFileGoneBeforeItsFirstMeasurementIsDroppedWithoutAWord) {
  dispatcher.addStringToItemList(folder.path() + "/missing");
  dispatcher.cycle();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  EXPECT_EQ(log.lines(), Paths());
}

TEST_F(DispatcherMeasuring, AFileGoneBetweenMeasurementsIsDroppedWithoutAWord) {
  const std::string path = file("a");
  takeOver({path});
  measure();
  ASSERT_TRUE(std::filesystem::remove(path));
  measure();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  EXPECT_EQ(log.lines(), Paths());
}

TEST_F(DispatcherMeasuring, AReadyFileGoneBeforePromotionIsDropped) {
  const std::string path = file("a");
  takeOver({path});
  measure();
  measure();
  ASSERT_TRUE(std::filesystem::remove(path));
  measure();
  promote();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(DispatcherMeasuring, AFileGoneAfterPromotionIsStillHandedOut) {
  const std::string path = file("a");
  makeReady({path});
  ASSERT_TRUE(std::filesystem::remove(path));
  measure();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherMeasuring, AFolderThatHoldsStillIsDropped) {
  const std::string path = folder.makeFolder("home/anna/new folder");
  dispatcher.addStringToItemList(path);
  dispatcher.cycle();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  EXPECT_EQ(dispatcher.scannableCount(), 0);
}

TEST_F(DispatcherMeasuring, AFolderIsDroppedOnlyAtPromotion) {
  const std::string path = folder.makeFolder("new folder");
  takeOver({path});
  measure();
  measure();
  measure();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
  promote();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(DispatcherMeasuring, AFolderToBeDroppedThatVanishesIsRemovedAtOnce) {
  const std::string path = folder.makeFolder("new folder");
  takeOver({path});
  measure();
  measure();
  ASSERT_TRUE(std::filesystem::remove(path));
  measure();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(DispatcherMeasuring, TheRootOfAVolumeIsHandedOutWhole) {
  const std::string root = folder.makeFolder("Volumes/Stick");
  folder.write("Volumes/Stick/file", "contents");
  dispatcher.addStringToItemList(root);
  dispatcher.cycle();
  EXPECT_EQ(batch(), Paths{root});
}

TEST_F(DispatcherMeasuring, AFolderDeeperInAVolumeIsDropped) {
  dispatcher.addStringToItemList(folder.makeFolder("Volumes/Stick/inner"));
  dispatcher.cycle();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(DispatcherMeasuring, TheFolderOfVolumesItselfIsDropped) {
  dispatcher.addStringToItemList(folder.makeFolder("Volumes"));
  dispatcher.cycle();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
}

TEST_F(DispatcherMeasuring, AFolderBesideOneWithALikeNameIsDropped) {
  dispatcher.addStringToItemList(folder.makeFolder("Volumes2/Stick"));
  dispatcher.addStringToItemList(folder.makeFolder("home/Volumes/Stick"));
  dispatcher.cycle();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
}

TEST_F(DispatcherMeasuring, AFileDirectlyBelowTheFolderOfVolumesIsAFileLikeAnyOther) {
  const std::string path = folder.write("Volumes/file", "contents");
  dispatcher.addStringToItemList(path);
  dispatcher.cycle();
  EXPECT_EQ(batch(), Paths{path});
}

TEST_F(DispatcherMeasuring, ALinkIsMeasuredByWhatItLeadsTo) {
  const std::string target = file("target", "");
  const std::string link = folder.path() + "/link";
  std::filesystem::create_symlink(target, link);
  dispatcher.addStringToItemList(link);
  dispatcher.cycle();
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  file("target", "no longer empty");
  dispatcher.cycle();
  EXPECT_EQ(batch(), Paths{link});
}

TEST_F(DispatcherMeasuring, ADanglingLinkIsDropped) {
  const std::string link = folder.path() + "/link";
  std::filesystem::create_symlink(folder.path() + "/missing", link);
  dispatcher.addStringToItemList(link);
  dispatcher.cycle();
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(DispatcherMeasuring, ReportsToTheObserverWhatBecameStable) {
  const std::string path = file("a");
  dispatcher.addStringToItemList(path);
  dispatcher.addStringToItemList(folder.makeFolder("dropped"));
  dispatcher.cycle();
  EXPECT_EQ(observer.stablePaths(), Paths{path});
}

TEST_F(DispatcherMeasuring, ACycleThatFailsIsReportedAndLosesNoPath) {
  dispatcher.addStringToItemList(file("a"));
  observer.failsOnce = true;
  dispatcher.cycle();
  EXPECT_TRUE(log.has("Dispatcher: a cycle failed: no memory"));
  EXPECT_EQ(dispatcher.scannableCount(), 0);
  dispatcher.cycle();
  EXPECT_EQ(batch(), std::vector<std::string>{folder.path() + "/a"});
}

}  // namespace
}  // namespace quillo
