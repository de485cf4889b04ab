#include <gtest/gtest.h>

#include <stdexcept>

#include "posix/PlatformException.h"
#include "tests/fakes/agent/AgentUnderTest.h"
#include "tests/fakes/desktop/FakeMetadataQuery.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/support/TemporaryFolder.h"
#include "watchers/SpotlightWatcher.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

// Notes what is reported to it, and whether its monitor was held then.
class FakeWatcherMenu final : public WatcherMenu {
 public:
  Mutex& monitor() override {
    calls.push_back("monitor");
    return monitor_;
  }
  void setReady() override {
    calls.push_back("ready");
    if (refuses) {
      throw PlatformException(PlatformException::Kind::failed, "MenuException", "no menu");
    }
  }
  void folderMissingPanic() override { calls.push_back("folder missing"); }

  Lines calls;
  bool refuses = false;

 private:
  Mutex monitor_;
};

const MetadataItem::Date noon{std::chrono::hours(12)};
const MetadataItem::Date later = noon + std::chrono::seconds(1);

MetadataItem added(const std::string& path) { return {path, std::nullopt, std::nullopt}; }
MetadataItem changed(const std::string& path) { return {path, noon, later}; }
MetadataItem opened(const std::string& path) { return {path, later, noon}; }

class Spotlight : public testing::Test {
 protected:
  Spotlight() { watcher.setMenuAndParamsAndController({&menu, "/clamdscan", "--stdout"}, owner); }

  void watch() { watcher.addWatcher(folder.path()); }
  void finishGathering() {
    queries.last->complete = true;
    queries.last->report({metadataQueryDidFinish});
    queries.takeCalls();
  }
  // What an update hands to the dispatcher.
  Lines handedOver(const std::vector<MetadataItem>& addedItems,
                   const std::vector<MetadataItem>& changedItems) {
    const std::size_t before = owner.paths().size();
    queries.last->report({metadataQueryDidUpdate, addedItems, changedItems});
    const Lines all = owner.paths();
    return Lines(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
  }

  TemporaryFolder folder;
  FakeSystemLog systemLog;
  FakeMetadataQueries queries;
  FakeWatcherOwner owner;
  FakeWatcherMenu menu;
  SpotlightWatcher watcher{queries, systemLog};
};

TEST_F(Spotlight, KeepsTheScanArgumentsWithoutTheMenu) {
  EXPECT_EQ(watcher.getScanParams(), (Lines{"/clamdscan", "--stdout"}));
  watcher.setMenuAndParamsAndController({&menu}, owner);
  EXPECT_EQ(watcher.getScanParams(), Lines());
}

TEST_F(Spotlight, RefusesAListWithoutTheMenuAtItsHead) {
  EXPECT_THROW(watcher.setMenuAndParamsAndController({}, owner), PlatformException);
  EXPECT_THROW(watcher.setMenuAndParamsAndController({"/clamdscan"}, owner), PlatformException);
}

TEST_F(Spotlight, AsksForEverythingInTheFolderButTheScanLog) {
  watch();
  EXPECT_EQ(
      queries.takeCalls(),
      (Lines{"create (kMDItemFSName != '*/Library/Logs/VantrelQuillo-scan.log'c)",
             "observe kMDQueryDidFinishNotification", "observe kMDQueryProgressNotification",
             "observe kMDQueryDidUpdateNotification", "scope " + folder.path(), "execute 4"}));
  EXPECT_EQ(menu.calls, Lines());
}

TEST_F(Spotlight, ReportsToTheMenuAFolderThatCannotBeListed) {
  watcher.addWatcher(folder.path() + "/missing");
  watcher.addWatcher(folder.write("file", "contents"));
  EXPECT_EQ(menu.calls, (Lines{"folder missing", "folder missing"}));
  EXPECT_EQ(queries.takeCalls(), Lines());
}

TEST_F(Spotlight, LogsAQueryThatIsNotUnderstood) {
  queries.refuses = true;
  watch();
  watcher.startWatcher();
  watcher.stopWatcher();
  EXPECT_EQ(systemLog.lines(), Lines{"The index of files does not understand (kMDItemFSName != "
                                     "'*/Library/Logs/VantrelQuillo-scan.log'c)"});
}

TEST_F(Spotlight, StartsAndStopsTheQuery) {
  watcher.startWatcher();
  watcher.stopWatcher();
  watch();
  queries.takeCalls();
  watcher.stopWatcher();
  watcher.startWatcher();
  EXPECT_EQ(queries.takeCalls(), (Lines{"stop", "execute 4"}));
}

TEST_F(Spotlight, IsReadyWhenTheGatheringIsOver) {
  watch();
  queries.takeCalls();
  queries.last->complete = true;
  queries.last->report({metadataQueryDidFinish});
  EXPECT_EQ(menu.calls, (Lines{"monitor", "ready"}));
  EXPECT_EQ(queries.takeCalls(), (Lines{"disable", "enable"}));
  queries.last->report({metadataQueryDidFinish});
  EXPECT_EQ(menu.calls, (Lines{"monitor", "ready"}));
}

TEST_F(Spotlight, IsNotReadyBeforeTheQuerySaysSoItself) {
  watch();
  queries.last->report({metadataQueryDidFinish});
  EXPECT_EQ(menu.calls, Lines());
  queries.last->complete = true;
  queries.last->report({metadataQueryProgress});
  queries.last->report({metadataQueryDidUpdate});
  EXPECT_EQ(menu.calls, Lines());
  queries.last->report({metadataQueryDidFinish});
  EXPECT_EQ(menu.calls, (Lines{"monitor", "ready"}));
}

TEST_F(Spotlight, HandsNothingOverBeforeTheGatheringIsOver) {
  watch();
  queries.last->report({metadataQueryProgress, {added("/a")}, {changed("/b")}});
  EXPECT_EQ(handedOver({added("/a")}, {changed("/b")}), Lines());
  queries.last->complete = true;
  queries.last->report({metadataQueryDidFinish, {added("/a")}, {changed("/b")}});
  EXPECT_EQ(owner.paths(), Lines());
}

TEST_F(Spotlight, HandsAddedAndChangedItemsOverTheLastOneFirst) {
  watch();
  finishGathering();
  EXPECT_EQ(handedOver({added("/a"), added("/b")}, {changed("/c"), changed("/d")}),
            (Lines{"/d", "/c", "/b", "/a"}));
  EXPECT_EQ(queries.takeCalls(), (Lines{"disable", "enable"}));
}

TEST_F(Spotlight, TakesAnUpdateAlsoUnderAnotherName) {
  watch();
  finishGathering();
  queries.last->report({metadataQueryProgress, {added("/a")}});
  watcher.queryDone({metadataQueryDidFinish, {added("/b")}});
  EXPECT_EQ(owner.paths(), (Lines{"/a", "/b"}));
}

TEST_F(Spotlight, KeepsWhatWasOnlyOpenedBack) {
  watch();
  finishGathering();
  EXPECT_EQ(handedOver({}, {opened("/a")}), Lines());
  EXPECT_EQ(handedOver({}, {changed("/a"), opened("/b"), changed("/c")}), (Lines{"/c", "/a"}));
  EXPECT_EQ(systemLog.lines(), Lines());
}

TEST_F(Spotlight, KeepsOnlyChangedItemsBackForTheirDates) {
  watch();
  finishGathering();
  EXPECT_EQ(handedOver({opened("/a")}, {}), Lines{"/a"});
}

TEST_F(Spotlight, HandsAChangeOverWhoseDatesAreTheSameOrMissing) {
  watch();
  finishGathering();
  EXPECT_EQ(
      handedOver({}, {{"/a", noon, noon}, {"/b", later, {}}, {"/c", {}, noon}, {"/d", {}, {}}}),
      (Lines{"/d", "/c", "/b", "/a"}));
}

TEST_F(Spotlight, PassesItemsWithoutAPathOver) {
  watch();
  finishGathering();
  EXPECT_EQ(handedOver({{}, added("/a")}, {{{}, noon, later}}), Lines{"/a"});
}

TEST_F(Spotlight, RemovesTheFirstPathForAnOpenedItemThatHasNone) {
  watch();
  finishGathering();
  EXPECT_EQ(handedOver({added("/a"), added("/b")}, {{{}, later, noon}}), Lines{"/a"});
}

TEST_F(Spotlight, AnEmptyUpdateHandsNothingOver) {
  watch();
  finishGathering();
  owner.refusal = std::make_exception_ptr(
      PlatformException(PlatformException::Kind::failed, "Unexpected", "call"));
  EXPECT_EQ(handedOver({}, {}), Lines());
  EXPECT_EQ(systemLog.lines(), Lines());
}

TEST_F(Spotlight, LogsTheStepAtWhichAnExceptionCameAndGoesOn) {
  watch();
  finishGathering();
  EXPECT_EQ(handedOver({}, {changed("/a"), opened("/b"), {{}, later, noon}, {{}, later, noon}}),
            Lines());
  EXPECT_EQ(systemLog.lines(),
            Lines{"SpotlightWatcher did NOT crash, don't worry: at numLinesOffset = 5, Caught "
                  "RangeException: there is no first path to remove: the list is empty"});
  EXPECT_EQ(queries.takeCalls(), (Lines{"disable", "enable"}));
  EXPECT_EQ(handedOver({added("/c")}, {}), Lines{"/c"});
}

TEST_F(Spotlight, LogsAnExceptionOfTheMenuAndOfTheDispatcher) {
  menu.refuses = true;
  watch();
  finishGathering();
  EXPECT_EQ(systemLog.lines(), Lines{"SpotlightWatcher did NOT crash, don't worry: at "
                                     "numLinesOffset = 2, Caught MenuException: no menu"});
  systemLog.clear();
  owner.refusal = std::make_exception_ptr(
      PlatformException(PlatformException::Kind::failed, "QueueException", "no queue"));
  EXPECT_EQ(handedOver({added("/a")}, {}), Lines());
  EXPECT_EQ(systemLog.lines(), Lines{"SpotlightWatcher did NOT crash, don't worry: at "
                                     "numLinesOffset = 6, Caught QueueException: no queue"});
}

TEST_F(Spotlight, GivesTheMenusMonitorBackAfterAnException) {
  menu.refuses = true;
  watch();
  finishGathering();
  const MutexLock hold(menu.monitor());
}

TEST_F(Spotlight, PassesAnyOtherExceptionOnWithUpdatesEnabled) {
  watch();
  finishGathering();
  owner.refusal = std::make_exception_ptr(std::runtime_error("out of the blue"));
  EXPECT_THROW(handedOver({added("/a")}, {}), std::runtime_error);
  EXPECT_EQ(queries.takeCalls(), (Lines{"disable", "enable"}));
  EXPECT_EQ(systemLog.lines(), Lines());
}

TEST_F(Spotlight, GathersAnewForAnotherFolder) {
  watch();
  finishGathering();
  watch();
  EXPECT_EQ(queries.takeCalls().at(1), "gone");
  EXPECT_EQ(handedOver({added("/a")}, {}), Lines());
  finishGathering();
  EXPECT_EQ(menu.calls, (Lines{"monitor", "ready", "monitor", "ready"}));
}

// A watcher of the index within a whole agent, to which it was added by hand.
class SpotlightInAnAgent : public testing::Test, protected AgentUnderTest {
 protected:
  FakeMetadataQueries queries;
};

TEST_F(SpotlightInAnAgent, ShowsThatItWatchesAndFeedsTheQueue) {
  MenuForWatchers menu(agent().mainMenu());
  PathIntake& intake = agent().parts().intake;
  SpotlightWatcher watcher(queries, desktop.systemLog);
  watcher.setMenuAndParamsAndController({&menu}, intake);
  watcher.addWatcher(home.path());
  EXPECT_FALSE(agent().mainMenu().isCurrentlyWatching());
  queries.last->complete = true;
  queries.last->report({metadataQueryDidFinish});
  EXPECT_TRUE(agent().mainMenu().isCurrentlyWatching());
  queries.last->report({metadataQueryDidUpdate, {{"/a", {}, {}}, {"/b", {}, {}}}});
  EXPECT_EQ(agent().theDispatcher().lengthOfBothItemLists(), 2U);
}

TEST_F(SpotlightInAnAgent, HasWatchingRestartedWhenItsFolderIsMissing) {
  MenuForWatchers menu(agent().mainMenu());
  PathIntake& intake = agent().parts().intake;
  agent().applicationDidFinishLaunching();
  const int before = desktop.preferenceStore.synchronizations();
  SpotlightWatcher watcher(queries, desktop.systemLog);
  watcher.setMenuAndParamsAndController({&menu}, intake);
  watcher.addWatcher(home.path() + "/missing");
  EXPECT_GT(desktop.preferenceStore.synchronizations(), before);
}

}  // namespace
}  // namespace quillo
