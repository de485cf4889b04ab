#include <filesystem>

#include "tests/fakes/menu/ThrobberFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Names = std::vector<std::string>;

// One letter an item: enabled or disabled, in this order: start, stop, restart, abort, abort
// confirm, update, folders, quit, scan log, console log.
std::string statesOf(const FakeMainInterface& menu) {
  std::string states;
  for (const FakeMenuItem* item :
       {&menu.startMenuItem, &menu.stopMenuItem, &menu.restartMenuItem, &menu.abortMenuItem,
        &menu.abortConfirmMenuItem, &menu.updateDefsMenuItem, &menu.foldersWatchedMenuItem,
        &menu.quitMenuItem, &menu.openScanLogMenuItem, &menu.openQuilloConsoleLogMenuItem}) {
    states += item->isEnabled() ? '1' : '0';
  }
  return states;
}

void setAll(FakeMainInterface& menu, bool enabled) {
  for (FakeMenuItem* item :
       {&menu.startMenuItem, &menu.stopMenuItem, &menu.restartMenuItem, &menu.abortMenuItem,
        &menu.abortConfirmMenuItem, &menu.updateDefsMenuItem, &menu.foldersWatchedMenuItem,
        &menu.quitMenuItem, &menu.openScanLogMenuItem, &menu.openQuilloConsoleLogMenuItem}) {
    item->setEnabled(enabled);
  }
}

class ThrobberMenu : public ThrobberFixture {
 protected:
  ThrobberMenu() { throbber.prepare(owner); }

  // The states after a mode, seen from all enabled and from all disabled.
  std::pair<std::string, std::string> after(Throbber& menuOwner, std::int32_t mode) {
    setAll(menu, true);
    menuOwner.enableMenuItems(mode);
    const std::string fromEnabled = statesOf(menu);
    setAll(menu, false);
    menuOwner.enableMenuItems(mode);
    return {fromEnabled, statesOf(menu)};
  }

  TemporaryFolder home;
  Throbber throbber{services()};
};

using States = std::pair<std::string, std::string>;

TEST_F(ThrobberMenu, EveryModeSetsItsItemsAndLeavesTheOthers) {
  EXPECT_EQ(after(throbber, 0), (States{"0000000111", "0000000100"}));
  EXPECT_EQ(after(throbber, 1), (States{"1001111111", "1000000000"}));
  EXPECT_EQ(after(throbber, 2), (States{"0110011111", "0110010100"}));
  EXPECT_EQ(after(throbber, 3), (States{"0001101011", "0001100000"}));
}

TEST_F(ThrobberMenu, AnyOtherModeChangesNothing) {
  for (const std::int32_t mode : {-1, 4, 5, 1000, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(after(throbber, mode), (States{"1111111111", "0000000000"})) << mode;
  }
}

TEST_F(ThrobberMenu, WithADockIconTheQuitCommandIsNeverTouched) {
  for (const char* value : {"true", "both", "Both"}) {
    desktop.preferenceStore.set("ShowDockIcon", value);
    Throbber other(services());
    other.prepare(owner);
    EXPECT_EQ(after(other, 0), (States{"0000000111", "0000000000"})) << value;
    EXPECT_EQ(after(other, 2), (States{"0110011111", "0110010000"})) << value;
    EXPECT_EQ(after(other, 3), (States{"0001101111", "0001100000"})) << value;
  }
}

TEST_F(ThrobberMenu, WithAnyOtherDockPreferenceQuitIsDisabledWhileBusy) {
  desktop.preferenceStore.set("ShowDockIcon", "false");
  Throbber other(services());
  other.prepare(owner);
  EXPECT_EQ(after(other, 3), (States{"0001101011", "0001100000"}));
}

TEST_F(ThrobberMenu, QuitIsDisabledDuringAScanAndEnabledAgainAfterIt) {
  watch(throbber);
  owner.count = 1;
  clock.atSleep = [this](int sleeps) {
    if (sleeps > 1) {
      EXPECT_FALSE(menu.quitMenuItem.isEnabled());
      owner.count = 0;
    }
  };
  throbber.round();
  EXPECT_TRUE(menu.quitMenuItem.isEnabled());
}

TEST_F(ThrobberMenu, WithADockIconBesideTheItemQuitStaysEnabledDuringAScan) {
  desktop.preferenceStore.set("ShowDockIcon", "both");
  Throbber other(services());
  other.prepare(owner);
  watch(other);
  owner.count = 1;
  clock.atSleep = [this](int) {
    EXPECT_TRUE(menu.quitMenuItem.isEnabled());
    owner.count = clock.shown.size() < 3 ? 1 : 0;
  };
  other.round();
  EXPECT_TRUE(menu.quitMenuItem.isEnabled());
}

TEST_F(ThrobberMenu, FoldersAreListedInReverseOrder) {
  throbber.clearMenu();
  for (const char* path : {"/a", "/b", "/c"}) {
    throbber.addToMenuWithObjectToWatch(path, path);
  }
  EXPECT_EQ(menu.theSubMenu.titles(), (Names{"/c", "/b", "/a"}));
}

TEST_F(ThrobberMenu, AFolderInTheHomeFolderIsShownWithATilde) {
  throbber.addToMenuWithObjectToWatch("/home/anna/Downloads/", "/home/anna/Downloads/");
  throbber.addToMenuWithObjectToWatch("/home/annabel/x", "/home/annabel/x");
  EXPECT_EQ(menu.theSubMenu.titles(), (Names{"/home/annabel/x", "~/Downloads/"}));
}

TEST_F(ThrobberMenu, AddingAFolderShowsThatWatchingIsBeingSetUp) {
  throbber.clearMenu();
  throbber.addToMenuWithObjectToWatch("/a", "/a");
  EXPECT_EQ(menu.startMenuItem.title(), "<WAIT>");
  EXPECT_TRUE(menu.foldersWatchedMenuItem.isEnabled());
  EXPECT_EQ(statesOf(menu).substr(0, 6), "000000");
  EXPECT_TRUE(menu.quitMenuItem.isEnabled());
  EXPECT_EQ(item.image(), "default");
}

TEST_F(ThrobberMenu, TheFolderOfVolumesHasNoEntryButEnablesTheFolders) {
  throbber.clearMenu();
  throbber.addToMenuWithObjectToWatch("/Volumes", "/Volumes");
  EXPECT_EQ(menu.theSubMenu.titles(), Names());
  EXPECT_TRUE(menu.foldersWatchedMenuItem.isEnabled());
  EXPECT_EQ(menu.startMenuItem.title(), "<WAIT>");
}

TEST_F(ThrobberMenu, OnlyThatExactPathHasNoEntry) {
  throbber.addToMenuWithObjectToWatch("/Volumes/", "/Volumes/");
  throbber.addToMenuWithObjectToWatch("/Volumes/Stick", "/Volumes/Stick");
  EXPECT_EQ(menu.theSubMenu.titles().size(), 2U);
}

TEST_F(ThrobberMenu, ClearingRemovesTheFoldersAndLeavesTheStartItemsText) {
  throbber.addToMenuWithObjectToWatch("/a", "/a");
  throbber.addToMenuWithObjectToWatch("/b", "/b");
  throbber.clearMenu();
  EXPECT_EQ(menu.theSubMenu.titles(), Names());
  EXPECT_FALSE(menu.foldersWatchedMenuItem.isEnabled());
  EXPECT_TRUE(menu.startMenuItem.isEnabled());
  EXPECT_EQ(menu.startMenuItem.title(), "<WAIT>");
}

TEST_F(ThrobberMenu, AFolderItemOpensItsFolder) {
  throbber.addToMenuWithObjectToWatch("/home/anna/Downloads/", "/home/anna/Downloads/");
  throbber.addToMenuWithObjectToWatch("/srv/", "/srv/");
  desktop.workspace.answer = false;
  menu.theSubMenu.choose("~/Downloads/");
  menu.theSubMenu.choose("/srv/");
  EXPECT_EQ(desktop.workspace.opened, (Names{"/home/anna/Downloads/", "/srv/"}));
  // A folder that is gone is not shown.
  EXPECT_EQ(desktop.application.beeps, 0);
}

TEST_F(ThrobberMenu, TheScanLogIsOpenedInTheHomeFolder) {
  desktop.folders.home = home.path();
  const std::string log = home.write("Library/Logs/VantrelQuillo-scan.log", "x");
  throbber.openLog(menu.openScanLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names{log});
  EXPECT_EQ(desktop.application.beeps, 0);
}

TEST_F(ThrobberMenu, TheScanLogWithOptionIsTheMainApplications) {
  desktop.folders.home = home.path();
  home.write("Library/Logs/VantrelQuillo-scan.log", "x");
  desktop.modifierKeys.held = ModifierKeys::optionKey;
  throbber.openLog(menu.openScanLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names());
  EXPECT_EQ(desktop.application.beeps, 1);
  const std::string log = home.write("Library/Logs/vantrel-scan.log", "x");
  throbber.openLog(menu.openScanLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names{log});
  EXPECT_EQ(desktop.application.beeps, 1);
}

TEST_F(ThrobberMenu, OtherModifierKeysChangeNothing) {
  desktop.folders.home = home.path();
  const std::string log = home.write("Library/Logs/VantrelQuillo-scan.log", "x");
  desktop.modifierKeys.held = ModifierKeys::commandKey;
  throbber.openLog(menu.openScanLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names{log});
}

TEST_F(ThrobberMenu, ALogThatIsNotThereBeeps) {
  desktop.folders.home = home.path();
  throbber.openLog(menu.openScanLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names());
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_EQ(desktop.systemLog.lines(), Names());
}

TEST_F(ThrobberMenu, ALogThatCannotBeOpenedBeeps) {
  desktop.folders.home = home.path();
  home.write("Library/Logs/VantrelQuillo-scan.log", "x");
  desktop.workspace.answer = false;
  throbber.openLog(menu.openScanLogMenuItem);
  EXPECT_EQ(desktop.application.beeps, 1);
}

// The working folder of this process, for the length of a scope.
class WorkingFolder {
 public:
  explicit WorkingFolder(const std::string& path) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~WorkingFolder() { std::filesystem::current_path(before_); }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
  const std::filesystem::path before_;
};

TEST_F(ThrobberMenu, TheConsoleLogsTildeIsNotExpanded) {
  desktop.folders.home = home.path();
  home.write("Library/Logs/VantrelQuilloConsole.log", "x");
  const WorkingFolder inHome(home.path());
  throbber.openLog(menu.openQuilloConsoleLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names());
  EXPECT_EQ(desktop.application.beeps, 1);
}

TEST_F(ThrobberMenu, TheConsoleLogIsLookedForBelowTheWorkingFolder) {
  home.write("~/Library/Logs/VantrelQuilloConsole.log", "x");
  const WorkingFolder inHome(home.path());
  throbber.openLog(menu.openQuilloConsoleLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names{"~/Library/Logs/VantrelQuilloConsole.log"});
  EXPECT_EQ(desktop.application.beeps, 0);
}

TEST_F(ThrobberMenu, TheUpdateLogIsTheOnePreferred) {
  const std::string log = home.write("freshclam.log", "x");
  owner.log = log;
  throbber.openLog(menu.openUpdateLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names{log});
}

TEST_F(ThrobberMenu, AnyFurtherItemOpensTheUpdateLog) {
  const std::string log = home.write("freshclam.log", "x");
  owner.log = log;
  throbber.openLog(FakeMenuItem("further"));
  EXPECT_EQ(desktop.workspace.opened, Names{log});
}

TEST_F(ThrobberMenu, AnEmptyUpdateLogOrNoneBeeps) {
  const WorkingFolder inHome(home.path());
  home.write("x", "");
  throbber.openLog(menu.openUpdateLogMenuItem);
  owner.log = "";
  throbber.openLog(menu.openUpdateLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names());
  EXPECT_EQ(desktop.application.beeps, 2);
}

TEST_F(ThrobberMenu, AnUpdateLogThatIsNotThereBeeps) {
  const WorkingFolder inHome(home.path());
  owner.log = "x";
  throbber.openLog(menu.openUpdateLogMenuItem);
  EXPECT_EQ(desktop.application.beeps, 1);
  home.write("x", "contents");
  throbber.openLog(menu.openUpdateLogMenuItem);
  EXPECT_EQ(desktop.workspace.opened, Names{"x"});
  EXPECT_EQ(desktop.application.beeps, 1);
}

TEST_F(ThrobberMenu, AMissingFolderRestartsWatching) {
  throbber.folderMissingPanic();
  EXPECT_EQ(owner.restarts, 1);
}

TEST_F(ThrobberMenu, TheQuitCommandsTitleIsTheOneShown) {
  EXPECT_EQ(throbber.getQuitMenuName(), "Quit Vantrel Quillo");
  menu.quitMenuItem.setTitle("Beenden");
  EXPECT_EQ(throbber.getQuitMenuName(), "Beenden");
}

TEST_F(ThrobberMenu, ARestartByScriptIsDoneWhileWatching) {
  watch(throbber);
  throbber.canRestartFromAS();
  EXPECT_EQ(owner.restarts, 1);
}

TEST_F(ThrobberMenu, ARestartByScriptIsDroppedWhileBusyAndWhileIdle) {
  watch(throbber);
  throbber.enableMenuItems(3);
  throbber.canRestartFromAS();
  throbber.clearMenu();
  throbber.canRestartFromAS();
  EXPECT_EQ(owner.restarts, 0);
  // Nothing makes up for it later.
  watch(throbber);
  EXPECT_EQ(owner.restarts, 0);
}

}  // namespace
}  // namespace quillo
