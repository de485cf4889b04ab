#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "watchers/NameWatcher.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Gap = NameWatchObserver::Gap;

class NameWatcherTest : public testing::Test {
 protected:
  Lines handedOver(const Lines& paths) {
    const auto before = static_cast<std::ptrdiff_t>(owner.paths().size());
    desktop.nameWatch.observer->namesAppeared(paths);
    const Lines all = owner.paths();
    return Lines(all.begin() + before, all.end());
  }
  void findGap(const std::string& place, Gap gap) {
    desktop.nameWatch.observer->placeHasGap(place, gap);
  }

  FakePlatform desktop;
  ManualClock clock;
  FakeWatcherOwner owner;
  const WatcherServices services = watcherServicesOf(desktop, clock, owner);
  NameWatcher watcher{owner, services};
};

TEST_F(NameWatcherTest, HasTheWatchedPlacesWatchedUntilItIsStopped) {
  owner.watch("/a/", true);
  owner.watch("/b/", false);
  owner.watchWithoutFlag("/c/");
  watcher.start();
  EXPECT_EQ(desktop.nameWatch.places,
            (std::vector<NamedPlace>{{"/a/", true}, {"/b/", false}, {"/c/", false}}));
  watcher.stop();
  EXPECT_TRUE(desktop.nameWatch.places.empty());
}

TEST_F(NameWatcherTest, LeadsFromAPlaceWithAGapToTheFolders) {
  watcher.start();
  findGap("/a", Gap::mountsUnknown);
  const auto buttons = owner.buttons();
  ASSERT_EQ(buttons.size(), 1U);
  EXPECT_EQ(buttons[0].title, "<NOTIFICATION_FOLDERS>");
  buttons[0].press();
  const Lines calls = owner.calls();
  EXPECT_EQ(calls.back(), "show folders");
}

TEST_F(NameWatcherTest, HandsOnWhatTheHelpersLinesWouldHandOn) {
  desktop.preferenceStore.set("QuarantineFolder", "~/Q/");
  owner.watch("/home/anna/", true);
  watcher.start();
  EXPECT_EQ(handedOver({"/home/anna/x", "/home/anna/Q/x", "/home/anna/.Trash/x", "/home/bert/x",
                        "/home/anna/line\nbreak", "/home/anna/\xFF"}),
            (Lines{"/home/anna/x", "/home/anna/line\nbreak", "/home/anna/\xFF"}));
}

TEST_F(NameWatcherTest, KnowsAWatchedFolderByTheLinkThatLeadsThere) {
  const TemporaryFolder disk;
  disk.link("link", "one");
  owner.watch(disk.at("link"), true);
  watcher.start();
  EXPECT_EQ(handedOver({disk.at("one/x")}), Lines{disk.at("one/x")});
  std::filesystem::remove(disk.at("link"));
  disk.link("link", "two");
  EXPECT_EQ(handedOver({disk.at("one/x"), disk.at("two/x")}), Lines{disk.at("two/x")});
}

TEST_F(NameWatcherTest, HandsOnAFileThatOnlyBearsTheNameOfAFork) {
  owner.watch("/a/", true);
  watcher.start();
  EXPECT_EQ(handedOver({"/a/..namedfork/rsrc"}), Lines{"/a/..namedfork/rsrc"});
}

TEST_F(NameWatcherTest, ReadsTheQuarantineFolderAtEachStart) {
  owner.watch("/a/", true);
  watcher.start();
  EXPECT_EQ(handedOver({"/a/Q/x"}), Lines{"/a/Q/x"});
  desktop.preferenceStore.set("QuarantineFolder", "/a/Q/");
  EXPECT_EQ(handedOver({"/a/Q/x"}), Lines{"/a/Q/x"});
  watcher.start();
  EXPECT_EQ(handedOver({"/a/Q/x"}), Lines());
}

TEST_F(NameWatcherTest, SaysWhichPlacesAreNotWatchedCompletely) {
  desktop.localizedStrings.texts["PLACE_ON_NETWORK"] = "On a network: %@";
  watcher.start();
  findGap("/home/anna/Share/", Gap::networkDrive);
  findGap("/b/", Gap::tooManyFolders);
  findGap("/b/", Gap::networkDrive);
  EXPECT_EQ(owner.calls(),
            (Lines{"places with gaps: 0", "error: On a network: ~/Share/", "places with gaps: 1",
                   "error: <PLACE_NOT_ALL_WATCHED>", "places with gaps: 2",
                   "error: On a network: /b/", "places with gaps: 2"}));
  EXPECT_TRUE(desktop.systemLog.has(
      "/home/anna/Share/ lies on a network drive, whose changes are not told: not watched"));
  EXPECT_TRUE(desktop.systemLog.has(
      "The system lets no more folders be watched (fs.inotify.max_user_watches): files that are "
      "renamed, linked or moved in /b/ can be missed"));
  watcher.start();
  EXPECT_EQ(owner.calls().back(), "places with gaps: 0");
}

TEST_F(NameWatcherTest, SaysWhatTheSystemDidNotGive) {
  watcher.start();
  findGap("/a/", Gap::noQueue);
  findGap("/b/", Gap::mountsUnknown);
  EXPECT_EQ(owner.calls(),
            (Lines{"places with gaps: 0", "error: <PLACE_NO_QUEUE>", "places with gaps: 1",
                   "error: <PLACE_MOUNTS_UNKNOWN>", "places with gaps: 2"}));
  EXPECT_TRUE(desktop.systemLog.has(
      "The system lets no more programs watch folders (fs.inotify.max_user_instances): files that "
      "are renamed, linked or moved in /a/ can be missed"));
  EXPECT_TRUE(desktop.systemLog.has(
      "What is mounted cannot be read (/proc/self/mountinfo): files that are renamed, linked or "
      "moved in /b/ can be missed"));
}

TEST_F(NameWatcherTest, SurvivesAnOwnerThatCannotTakeAPath) {
  owner.watch("/a/", true);
  owner.onPath = [] { throw std::runtime_error("no memory"); };
  watcher.start();
  EXPECT_EQ(handedOver({"/a/x"}), Lines());
  EXPECT_TRUE(desktop.systemLog.has("Changed names could not be handed over: no memory"));
}

}  // namespace
}  // namespace quillo
