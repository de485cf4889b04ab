#include <gtest/gtest.h>

#include <filesystem>

#include "agent/WatchList.h"
#include "menu/Throbber.h"
#include "scanning/Dispatcher.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Flags = std::map<std::string, bool>;

constexpr const char* ofWatched =
    "One of the volumes we're supposed to be watching has just appeared, so don't scan it for the "
    "time being, just wait for new additions.";

class WatchListTest : public testing::Test {
 protected:
  WatchListTest() { desktop.folders.home = home.path(); }
  void choose(PreferenceArray entries) {
    desktop.preferenceStore.set("QuilloFolderArray", PreferenceValue{std::move(entries)});
  }
  Lines watched() const { return *list.getWatchedFolderList(); }
  Flags flags() const { return *list.getCheckSubDirs(); }
  Lines intake() {
    dispatcher.cycle();
    Lines paths;
    dispatcher.copyFromDispatchToScanner(paths);
    return paths;
  }

  TemporaryFolder home;
  FakePlatform desktop;
  ManualClock clock;
  Throbber throbber{{desktop.application, clock, desktop.dockTile, desktop.folders,
                     desktop.imageLoader, desktop.localizedStrings, desktop.mainInterface.outlets,
                     desktop.modifierKeys, desktop.preferences, desktop.statusBar,
                     desktop.systemLog, desktop.workspace}};
  Dispatcher dispatcher{clock, desktop.systemLog, desktop.volumes, nullptr};
  WatchList list{
      {desktop.mountNotifications, desktop.preferenceStore, desktop.preferences, desktop.systemLog},
      throbber,
      dispatcher};
};

TEST_F(WatchListTest, IsEmptyAtFirst) {
  EXPECT_EQ(watched(), Lines());
  EXPECT_EQ(flags(), Flags());
  EXPECT_EQ(list.getMaxRecursionDepth(), 0);
}

TEST_F(WatchListTest, ReportsWhichFoldersAreNotThereWhenItIsBuiltOrLater) {
  const std::string there = home.makeFolder("a");
  choose({watchedFolder(there, false), watchedFolder("/no/such", true),
          watchedFolder("/Volumes", true)});
  list.populateMenu();
  EXPECT_EQ(list.missingFolders(), Lines{"/no/such"});
  std::filesystem::remove(there);
  EXPECT_EQ(list.missingFolders(), (Lines{"/no/such", there + "/"}));
  list.stop();
  EXPECT_EQ(list.missingFolders(), Lines());
}

TEST_F(WatchListTest, SaysInWordsWhatIsToBeWatched) {
  EXPECT_EQ(list.inWords(), "There is no folder to guard: the preferences name none that is there");
  const std::string first = home.makeFolder("a");
  const std::string second = home.makeFolder("b");
  choose({watchedFolder(first, true), watchedFolder(second, false),
          watchedFolder(home.path() + "/missing", true)});
  list.populateMenu();
  EXPECT_EQ(list.inWords(),
            "Folders to guard: " + first + "/, " + second + "/ (without its subfolders)");
}

TEST_F(WatchListTest, HoldsTheFoldersInTheUsersOrderWithASlashEach) {
  const std::string second = home.makeFolder("b");
  const std::string first = home.makeFolder("a") + "/";
  choose({watchedFolder(second, false), watchedFolder(first, true)});
  list.populateMenu();
  EXPECT_EQ(watched(), (Lines{second + "/", first}));
  EXPECT_EQ(flags(), (Flags{{second + "/", false}, {first, true}}));
}

TEST_F(WatchListTest, ExpandsATilde) {
  home.makeFolder("Documents");
  choose({watchedFolder("~/Documents", true)});
  list.populateMenu();
  EXPECT_EQ(watched(), Lines{home.path() + "/Documents/"});
  EXPECT_EQ(flags(), (Flags{{home.path() + "/Documents/", true}}));
}

TEST_F(WatchListTest, KeepsAFileAsItIsWritten) {
  const std::string file = home.write("notes", "x");
  choose({watchedFolder(file, true)});
  list.populateMenu();
  EXPECT_EQ(watched(), Lines{file});
}

TEST_F(WatchListTest, PassesOverWhatIsNotThereButShowsIt) {
  choose({watchedFolder("/nonexistent/a", true), watchedFolder(home.path(), true)});
  list.populateMenu();
  EXPECT_EQ(watched(), Lines{home.path() + "/"});
  EXPECT_EQ(desktop.mainInterface.theSubMenu.titles(), (Lines{"~", "/nonexistent/a"}));
  EXPECT_TRUE(throbber.isCurrentlyWatching());
  EXPECT_TRUE(desktop.systemLog.lines().empty());
}

TEST_F(WatchListTest, HoldsAFolderTwiceThatIsChosenTwiceWithItsLastFlag) {
  choose({watchedFolder(home.path(), true), watchedFolder(home.path() + "/", false)});
  list.populateMenu();
  EXPECT_EQ(watched(), (Lines{home.path() + "/", home.path() + "/"}));
  EXPECT_EQ(flags(), (Flags{{home.path() + "/", false}}));
}

TEST_F(WatchListTest, IsEmptyWithoutTheKey) {
  choose({watchedFolder("/nonexistent", true), watchedFolder("/nonexistent", true)});
  list.populateMenu();
  desktop.preferenceStore.remove("QuilloFolderArray");
  list.populateMenu();
  EXPECT_EQ(watched(), Lines());
  EXPECT_EQ(desktop.mainInterface.theSubMenu.titles(), Lines());
  EXPECT_TRUE(desktop.mountNotifications.observer);
  // With nothing to wait for, the first folder that is ready is enough.
  list.addToWatchListWithSubdirs("/nonexistent", false);
  EXPECT_TRUE(throbber.isCurrentlyWatching());
}

TEST_F(WatchListTest, ReportsToTheMenuHowManyThereAre) {
  choose({watchedFolder(home.path(), true), watchedFolder(home.path(), true)});
  list.populateMenu();
  EXPECT_TRUE(throbber.isCurrentlyWatching());
  throbber.clearMenu();
  list.addToWatchListWithSubdirs(home.path(), true);
  EXPECT_FALSE(throbber.isCurrentlyWatching());
  list.addToWatchListWithSubdirs(home.path(), true);
  EXPECT_TRUE(throbber.isCurrentlyWatching());
}

TEST_F(WatchListTest, IsBuiltAnewFromWhatThePreferencesSayNow) {
  choose({watchedFolder(home.makeFolder("a"), true)});
  list.populateMenu();
  choose({watchedFolder(home.makeFolder("b"), false)});
  list.populateMenu();
  EXPECT_EQ(watched(), Lines{home.path() + "/b/"});
  EXPECT_EQ(flags(), (Flags{{home.path() + "/b/", false}}));
  EXPECT_EQ(desktop.mainInterface.theSubMenu.titles(), Lines{"~/b"});
  EXPECT_EQ(desktop.preferenceStore.synchronizations(), 2);
}

TEST_F(WatchListTest, CountsAMissingFlagAsWithoutSubfolders) {
  PreferenceDictionary entry;
  entry["pathName"] = PreferenceValue{home.path()};
  choose({PreferenceValue{entry}});
  list.populateMenu();
  EXPECT_EQ(flags(), (Flags{{home.path() + "/", false}}));
}

TEST_F(WatchListTest, SurvivesEntriesThatAreNoFolders) {
  choose({PreferenceValue{true}, PreferenceValue{PreferenceDictionary()},
          watchedFolder(home.path(), true)});
  list.populateMenu();
  EXPECT_EQ(watched(), Lines{home.path() + "/"});
  EXPECT_TRUE(throbber.isCurrentlyWatching());
}

TEST_F(WatchListTest, LeavesWhatWasReadBeforeAsItWas) {
  choose({watchedFolder(home.path(), true)});
  list.populateMenu();
  const auto before = list.getWatchedFolderList();
  list.stop();
  EXPECT_EQ(*before, Lines{home.path() + "/"});
}

TEST_F(WatchListTest, StopsToLookOutForVolumesAndKeepsItsFlags) {
  choose({watchedFolder(home.path(), true)});
  list.populateMenu();
  ASSERT_TRUE(desktop.mountNotifications.observer);
  list.stop();
  EXPECT_FALSE(desktop.mountNotifications.observer);
  EXPECT_EQ(watched(), Lines());
  EXPECT_EQ(flags(), (Flags{{home.path() + "/", true}}));
  EXPECT_EQ(desktop.mainInterface.theSubMenu.titles(), Lines());
  EXPECT_FALSE(throbber.isCurrentlyWatching());
}

TEST_F(WatchListTest, AcceptsAFolderThatIsNeitherWatchedNorTheQuarantine) {
  EXPECT_TRUE(list.okToAddDir("/a", std::nullopt));
  choose({watchedFolder(home.path(), true)});
  list.populateMenu();
  EXPECT_TRUE(list.okToAddDir("/a", "/b/"));
  EXPECT_FALSE(list.okToAddDir("/a", "/a/"));
  EXPECT_TRUE(list.okToAddDir("/a", "/a"));
  EXPECT_FALSE(list.okToAddDir(home.path() + "/", std::nullopt));
  EXPECT_TRUE(list.okToAddDir(home.path(), ""));
}

TEST_F(WatchListTest, HasANewVolumeScannedWhenTheUserWantsIt) {
  const std::string volume = home.write("volume", "content");
  desktop.preferenceStore.set("QuilloScanVolumes", true);
  list.populateMenu();
  desktop.mountNotifications.observer(volume);
  EXPECT_EQ(desktop.systemLog.lines(),
            Lines{"The volume " + volume +
                  " was just mounted and we're not supposed to be monitoring it for new content, "
                  "so just scan it immediately."});
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
  clock.setSleepsPassAtOnce(true);
  EXPECT_EQ(intake(), Lines{volume});
}

TEST_F(WatchListTest, LeavesANewVolumeAloneOtherwise) {
  list.populateMenu();
  desktop.mountNotifications.observer(home.path());
  desktop.preferenceStore.set("QuilloScanVolumes", false);
  desktop.mountNotifications.observer(home.path());
  EXPECT_TRUE(desktop.systemLog.lines().empty());
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(WatchListTest, ScansAWatchedVolumeSinceItsFolderEndsInASlash) {
  desktop.preferenceStore.set("QuilloScanVolumes", true);
  choose({watchedFolder(home.path(), true)});
  list.populateMenu();
  desktop.mountNotifications.observer(home.path());
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
  EXPECT_FALSE(desktop.systemLog.has(ofWatched));
}

TEST_F(WatchListTest, DoesNotScanAVolumeThatIsWatchedToTheLetter) {
  desktop.preferenceStore.set("QuilloScanVolumes", true);
  const std::string file = home.write("image", "x");
  choose({watchedFolder(file, true)});
  list.populateMenu();
  list.newVolumeAppeared(file);
  EXPECT_EQ(desktop.systemLog.lines(), Lines{ofWatched});
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
}

TEST_F(WatchListTest, HoldsAFolderWhoseNameIsNoUtf8) {
  const std::string path = home.makeFolder("r\xe9sum\xe9s");
  PreferenceDictionary entry;
  entry["pathName"] = PreferenceValue{std::string("~/elsewhere")};
  entry["pathURI"] = PreferenceValue{"file://" + home.path() + "/r%E9sum%e9s"};
  entry["WatchSubdirs"] = PreferenceValue{true};
  choose({PreferenceValue{entry}});
  list.populateMenu();
  EXPECT_EQ(watched(), Lines{path + "/"});
  EXPECT_EQ(flags(), (Flags{{path + "/", true}}));
  // The item of the menu opens it.
  desktop.mainInterface.theSubMenu.choose("~/r\xe9sum\xe9s");
  EXPECT_EQ(desktop.workspace.opened, Lines{path});
}

TEST_F(WatchListTest, TakesTheNameWhereTheUriIsNone) {
  home.makeFolder("Documents");
  PreferenceDictionary entry;
  entry["pathName"] = PreferenceValue{std::string("~/Documents")};
  entry["pathURI"] = PreferenceValue{std::string("file:///a%2Fb")};
  choose({PreferenceValue{entry}});
  list.populateMenu();
  EXPECT_EQ(watched(), Lines{home.path() + "/Documents/"});
  EXPECT_FALSE(desktop.systemLog.lines().empty());
}

}  // namespace
}  // namespace quillo
