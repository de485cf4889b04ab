#include "tests/fakes/menu/ThrobberFixture.h"

namespace quillo {
namespace {

class ThrobberCreation : public ThrobberFixture {};

using Names = std::vector<std::string>;

TEST_F(ThrobberCreation, MakesASquareItemWithAQuitCommand) {
  const Throbber throbber(services());
  EXPECT_EQ(item.length, -2);
  EXPECT_TRUE(menu.theMenu.removed.empty());
}

TEST_F(ThrobberCreation, WithADockIconAloneTakesNoRoomAndHasNoQuitCommand) {
  for (const char* value : {"true", "True", "TRUE", "tRuE"}) {
    menu.theMenu.removed.clear();
    item.length = 99;
    desktop.preferenceStore.set("ShowDockIcon", value);
    const Throbber throbber(services());
    EXPECT_EQ(item.length, 0) << value;
    EXPECT_EQ(menu.theMenu.removed, std::vector<MenuItem*>{&menu.quitMenuItem}) << value;
  }
}

TEST_F(ThrobberCreation, WithAnyOtherValueIsSquare) {
  for (const char* value : {"both", "BOTH", "false", "", "true "}) {
    item.length = 99;
    desktop.preferenceStore.set("ShowDockIcon", value);
    const Throbber throbber(services());
    EXPECT_EQ(item.length, -2) << value;
    EXPECT_TRUE(menu.theMenu.removed.empty()) << value;
  }
}

TEST_F(ThrobberCreation, DoesNotSeeTheMainApplicationsPreference) {
  desktop.preferenceStore.setOfMainApplication("ShowDockIcon", {std::string("true")});
  Throbber throbber(services());
  EXPECT_EQ(item.length, -2);
  desktop.preferenceStore.addSuiteNamed("org.vantrel.Vantrel");
  throbber.prepare(owner);
  throbber.enableMenuItems(3);
  EXPECT_FALSE(menu.quitMenuItem.isEnabled());
}

TEST_F(ThrobberCreation, ReadsThePreferenceOnce) {
  Throbber throbber(services());
  throbber.prepare(owner);
  desktop.preferenceStore.set("ShowDockIcon", "both");
  throbber.enableMenuItems(3);
  EXPECT_FALSE(menu.quitMenuItem.isEnabled());
}

TEST_F(ThrobberCreation, LoadsTheImagesInOrderAndOnce) {
  Throbber throbber(services());
  EXPECT_EQ(desktop.imageLoader.loaded(), Names());
  throbber.prepare(owner);
  Names expected = {"default", "dock_default", "alt",      "dock_alt",
                    "alt2",    "dock_alt",     "watching", "dock_watching"};
  for (int frame = 1; frame <= 8; ++frame) {
    expected.push_back("scanning" + std::to_string(frame));
    expected.push_back("dock_scanning" + std::to_string(frame));
  }
  for (const char* form : {"default_attention", "dock_default_attention", "watching_attention",
                           "dock_watching_attention"}) {
    expected.emplace_back(form);
  }
  EXPECT_EQ(desktop.imageLoader.loaded(), expected);
  watch(throbber);
  EXPECT_EQ(desktop.imageLoader.loaded(), expected);
}

TEST_F(ThrobberCreation, PreparesIconAndMenu) {
  menu.abortMenuItem.setEnabled(true);
  menu.abortConfirmMenuItem.setEnabled(true);
  Throbber throbber(services());
  throbber.prepare(owner);
  EXPECT_TRUE(item.highlightMode);
  EXPECT_EQ(item.images(), Names{"default"});
  EXPECT_EQ(desktop.application.iconImages(), Names{"dock_default"});
  EXPECT_EQ(item.alternateImage(), "alt");
  EXPECT_EQ(item.shownMenu, &menu.theMenu);
  EXPECT_TRUE(item.isEnabled);
  EXPECT_FALSE(menu.theMenu.autoenables());
  EXPECT_FALSE(menu.abortMenuItem.isEnabled());
  EXPECT_FALSE(menu.abortConfirmMenuItem.isEnabled());
  // Every other item keeps the state of the interface file.
  EXPECT_TRUE(menu.startMenuItem.isEnabled() && menu.stopMenuItem.isEnabled() &&
              menu.quitMenuItem.isEnabled());
}

TEST_F(ThrobberCreation, WatchingThatBeganBeforeTheImagesWereLoadedIsShown) {
  Throbber throbber(services());
  throbber.setController(owner);
  watch(throbber);
  throbber.prepare(owner);
  EXPECT_TRUE(throbber.isCurrentlyWatching());
  EXPECT_EQ(item.image(), "watching");
  EXPECT_EQ(desktop.application.iconImages().back(), "dock_watching");
  EXPECT_EQ(item.alternateImage(), "alt");
  EXPECT_TRUE(looksWatching());
  EXPECT_EQ(menu.startMenuItem.title(), "Start Watching");
}

TEST_F(ThrobberCreation, NothingIsShownBeforeTheImagesAreLoaded) {
  Throbber throbber(services());
  throbber.clearMenu();
  throbber.setReady();
  EXPECT_EQ(item.images(), Names());
  EXPECT_EQ(desktop.application.iconImages(), Names());
}

TEST_F(ThrobberCreation, AnUpdateMayBeginBeforeTheAnimationThreadRuns) {
  Throbber throbber(services());
  throbber.setController(owner);
  throbber.startUpdate();
  EXPECT_TRUE(throbber.isUpdating());
  EXPECT_EQ(owner.count, 1);
  throbber.prepare(owner);
  EXPECT_TRUE(throbber.isUpdating());
}

TEST_F(ThrobberCreation, MenuItemsHaveNoSayInTheirState) {
  FakeMenuItem plain("title");
  MyMenuItem fixed(plain);
  EXPECT_FALSE(fixed.validateUserInterfaceItem());
  fixed.setTitle("other");
  fixed.setEnabled(false);
  EXPECT_EQ(fixed.title(), "other");
  EXPECT_FALSE(fixed.isEnabled());
  EXPECT_EQ(&fixed.item(), &plain);
}

}  // namespace
}  // namespace quillo
