#include "tests/fakes/menu/ThrobberFixture.h"

namespace quillo {
namespace {

using Texts = std::vector<std::string>;

class ThrobberWords : public ThrobberFixture {
 protected:
  ThrobberWords() {
    desktop.localizedStrings.texts = {{"STATUS_SCANNING", "Scanning %@ files"}};
    owner.facts.watchedFolders = 1;
    throbber.prepare(owner);
  }

  Throbber throbber{services()};
};

TEST_F(ThrobberWords, SayFromTheStartThatNothingIsWatched) {
  EXPECT_EQ(item.toolTips(), Texts{"<STATUS_IDLE>"});
  EXPECT_EQ(desktop.dockTile.state(), "<STATUS_IDLE>");
}

TEST_F(ThrobberWords, SayThatTheAgentIsSettingUpUntilEveryFolderIsReady) {
  throbber.clearMenu();
  throbber.setNumItemsToWatch(2);
  throbber.addToMenuWithObjectToWatch("/a", "/a");
  throbber.setReady();
  EXPECT_EQ(item.toolTip(), "<WAIT>");
  throbber.addToMenuWithObjectToWatch("/b", "/b");
  throbber.setReady();
  EXPECT_EQ(item.toolTip(), "<STATUS_WATCHING_ONE>");
  EXPECT_EQ(desktop.dockTile.state(), "<STATUS_WATCHING_ONE>");
  throbber.clearMenu();
  EXPECT_EQ(item.toolTip(), "<STATUS_IDLE>");
}

TEST_F(ThrobberWords, SayThatWatchingWasStoppedWhileSettingUp) {
  throbber.addToMenuWithObjectToWatch("/a", "/a");
  throbber.clearMenu();
  EXPECT_EQ(item.toolTip(), "<STATUS_IDLE>");
}

TEST_F(ThrobberWords, FollowTheCountDuringAScanAndEndWithIt) {
  watch(throbber);
  const std::size_t before = item.toolTips().size();
  owner.count = 1;
  // One more file at each of the pass's frames.
  clock.atSleep = [this](int sleeps) {
    owner.facts.filesBeingScanned = 10U + static_cast<std::size_t>(sleeps);
    owner.count = sleeps < 2 ? 1 : 0;
  };
  throbber.round();
  const Texts all = item.toolTips();
  EXPECT_EQ(Texts(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
            (Texts{"Scanning 11 files", "Scanning 15 files", "Scanning 20 files",
                   "<STATUS_WATCHING_ONE>"}));
}

TEST_F(ThrobberWords, DoNotChangeWhileNothingRuns) {
  watch(throbber);
  const std::size_t before = item.toolTips().size();
  clock.atWait = [&] {
    EXPECT_EQ(item.toolTips().size(), before);
    owner.count = clock.waits == 5 ? 1 : 0;
  };
  clock.atSleep = [this](int) { owner.count = 0; };
  throbber.round();
  EXPECT_EQ(clock.waits, 5);
}

TEST_F(ThrobberWords, SayThatTheDefinitionsAreUpdatedAlsoWhenNothingIsWatched) {
  throbber.startUpdate();
  EXPECT_EQ(item.toolTip(), "<STATUS_UPDATING>");
  throbber.stopUpdate();
  EXPECT_EQ(item.toolTip(), "<STATUS_IDLE>");
}

TEST_F(ThrobberWords, SayWhatTheOwnerKnows) {
  owner.facts.engineMissing = true;
  throbber.showStatus();
  EXPECT_EQ(item.toolTip(), "<STATUS_NO_ENGINE>");
}

// The forms of the icon, and the first lines of the menu, that say: guarded, but.
class ThrobberAttention : public ThrobberFixture {
 protected:
  ThrobberAttention() {
    owner.facts.watchedFolders = 1;
    throbber.prepare(owner);
  }
  void becomeOld() {
    owner.facts.definitions = DefinitionState::old;
    throbber.showStatus();
  }

  Throbber throbber{services()};
};

TEST_F(ThrobberAttention, ChangesTheFormOfTheWatchingImageAndBack) {
  watch(throbber);
  ASSERT_EQ(item.image(), "watching");
  becomeOld();
  EXPECT_EQ(item.image(), "watching_attention");
  EXPECT_EQ(desktop.application.iconImages().back(), "dock_watching_attention");
  owner.facts.definitions = DefinitionState::goodOrUnknown;
  throbber.showStatus();
  EXPECT_EQ(item.image(), "watching");
  EXPECT_EQ(desktop.application.iconImages().back(), "dock_watching");
}

TEST_F(ThrobberAttention, ChangesTheFormOfTheIdleImageWhereAnEngineIsMissing) {
  owner.facts.engineMissing = true;
  throbber.showStatus();
  EXPECT_EQ(item.image(), "default_attention");
  EXPECT_EQ(desktop.application.iconImages().back(), "dock_default_attention");
}

TEST_F(ThrobberAttention, LeavesTheIdleImageAsItIsWhenWatchingWasStopped) {
  watch(throbber);
  becomeOld();
  throbber.clearMenu();
  EXPECT_EQ(item.image(), "default");
}

TEST_F(ThrobberAttention, LeavesTheAnimationAloneAndIsShownBehindIt) {
  watch(throbber);
  owner.count = 1;
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 3) {
      becomeOld();
    }
    owner.count = sleeps < 4 ? 1 : 0;
  };
  throbber.round();
  Shown expected = sleepShowing("watching");
  append(expected, scanPass());
  EXPECT_EQ(clock.shown, expected);
  EXPECT_EQ(item.image(), "watching_attention");
}

TEST_F(ThrobberAttention, IsTheFirstLineOfTheMenu) {
  EXPECT_EQ(menu.stateMenuItem.title(), "<STATUS_IDLE>");
  watch(throbber);
  EXPECT_EQ(menu.stateMenuItem.title(), item.toolTip());
}

TEST_F(ThrobberAttention, OffersWhatMendsItBelow) {
  watch(throbber);
  EXPECT_TRUE(menu.mendMenuItem.isHidden());
  const auto offer = [this] {
    throbber.showStatus();
    return menu.mendMenuItem.isHidden() ? "" : menu.mendMenuItem.title();
  };
  owner.facts.placesWithGaps = 1;
  EXPECT_EQ(offer(), "<MEND_GAPS>");
  owner.facts.missingFolders = 1;
  EXPECT_EQ(offer(), "<MEND_FOLDERS>");
  owner.facts.definitions = DefinitionState::none;
  EXPECT_EQ(offer(), "<MEND_DEFINITIONS>");
  owner.facts.helperFails = true;
  EXPECT_EQ(offer(), "<MEND_ENGINE_FAILS>");
  owner.facts.engineMissing = true;
  EXPECT_EQ(offer(), "<MEND_ENGINE>");
}

TEST_F(ThrobberAttention, OffersAnUpdateOnlyWhenTheCommandForItIsEnabled) {
  watch(throbber);
  becomeOld();
  EXPECT_TRUE(menu.mendMenuItem.isEnabled());
  throbber.enableMenuItems(3);
  EXPECT_FALSE(menu.mendMenuItem.isEnabled());
  throbber.enableMenuItems(2);
  EXPECT_TRUE(menu.mendMenuItem.isEnabled());
}

TEST_F(ThrobberAttention, ReportsToItsOwnerTheEndOfAnUpdate) {
  throbber.startUpdate();
  EXPECT_EQ(owner.endedUpdates, 0);
  throbber.stopUpdate();
  EXPECT_EQ(owner.endedUpdates, 1);
}

}  // namespace
}  // namespace quillo
