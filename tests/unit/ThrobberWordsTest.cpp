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

}  // namespace
}  // namespace quillo
