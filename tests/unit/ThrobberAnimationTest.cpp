#include "tests/fakes/menu/ThrobberFixture.h"

namespace quillo {
namespace {

using std::chrono::milliseconds;

class ThrobberAnimation : public ThrobberFixture {
 protected:
  ThrobberAnimation() { throbber.prepare(owner); }
  static Shown joined(const std::vector<Shown>& parts) {
    Shown whole;
    for (const Shown& part : parts) {
      append(whole, part);
    }
    return whole;
  }

  Throbber throbber{services()};
};

TEST_F(ThrobberAnimation, AScanPassShowsTwelveImagesUpAndBackIn1300Milliseconds) {
  watch(throbber);
  owner.count = 1;
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 2) {
      owner.count = 0;
    }
  };
  throbber.round();
  EXPECT_EQ(clock.shown, joined({sleepShowing("watching"), scanPass()}));
  EXPECT_EQ(clock.now(), milliseconds(1000 + 1300));
  EXPECT_EQ(clock.waits, 0);
}

TEST_F(ThrobberAnimation, ScanPassesBeginAgainAtTheFirstFrameUntilNothingRuns) {
  watch(throbber);
  owner.count = 2;
  // In the middle of the second pass, which still runs to its end.
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 15 || sleeps == 16) {
      --owner.count;
    }
  };
  throbber.round();
  EXPECT_EQ(clock.shown, joined({sleepShowing("watching"), scanPass(), scanPass()}));
}

TEST_F(ThrobberAnimation, AnUpdatePassRunsBackwardsIn700Milliseconds) {
  watch(throbber);
  throbber.startUpdate();
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 9) {
      throbber.stopUpdate();
    }
  };
  throbber.round();
  EXPECT_EQ(clock.shown, joined({sleepShowing("watching"), updatePass(), updatePass()}));
  EXPECT_EQ(clock.now(), milliseconds(1000 + 2 * 700));
}

TEST_F(ThrobberAnimation, TheDockTileShowsTheSameFrames) {
  watch(throbber);
  owner.count = 1;
  clock.atSleep = [this](int) { owner.count = clock.shown.size() < 2 ? 1 : 0; };
  throbber.round();
  std::vector<std::string> expected;
  for (const std::string& image : item.images()) {
    expected.push_back("dock_" + image);
  }
  EXPECT_EQ(desktop.application.iconImages(), expected);
}

TEST_F(ThrobberAnimation, TheDockTileIsSetWhateverThePreferenceSays) {
  desktop.preferenceStore.set("ShowDockIcon", "false");
  Throbber other(services());
  other.prepare(owner);
  EXPECT_EQ(desktop.application.iconImages().back(), "dock_default");
}

TEST_F(ThrobberAnimation, TheEighthFrameIsNeverShown) {
  watch(throbber);
  throbber.startUpdate();
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 3) {
      throbber.stopUpdate();
    }
    if (sleeps == 9) {
      owner.count = 1;
    }
    if (sleeps == 12) {
      owner.count = 0;
    }
  };
  throbber.round();
  throbber.round();
  EXPECT_GT(clock.shown.size(), 15U);
  for (const std::string& image : item.images()) {
    EXPECT_NE(image, "scanning8");
  }
}

TEST_F(ThrobberAnimation, IsBusyDuringAndWatchingAfterAPass) {
  watch(throbber);
  item.setAlternateImage(nullptr);
  owner.count = 1;
  bool busyThroughout = true;
  clock.atSleep = [&](int sleeps) {
    if (sleeps > 1) {
      busyThroughout = busyThroughout && looksBusy() && !looksWatching();
      owner.count = 0;
    }
  };
  throbber.round();
  EXPECT_TRUE(busyThroughout);
  EXPECT_TRUE(looksWatching());
  EXPECT_FALSE(looksBusy());
  EXPECT_EQ(item.image(), "watching");
  EXPECT_EQ(item.alternateImage(), "alt");
}

TEST_F(ThrobberAnimation, TheAlternateImageStaysDuringABusyPeriod) {
  watch(throbber);
  owner.count = 1;
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 1) {
      item.setAlternateImage(std::make_shared<FakeImage>("mine"));
    } else {
      EXPECT_EQ(item.alternateImage(), "mine");
      owner.count = 0;
    }
  };
  throbber.round();
}

TEST_F(ThrobberAnimation, PollsOnceASecondUntilSomethingIsWatched) {
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 3) {
      watch(throbber);
      owner.count = 1;
    }
    if (sleeps == 4) {
      owner.count = 0;
    }
  };
  throbber.round();
  EXPECT_EQ(clock.shown, joined({Shown(3, {"default", milliseconds(1000)}), scanPass()}));
}

TEST_F(ThrobberAnimation, SleepsOnTheConditionWhileNothingRuns) {
  watch(throbber);
  clock.atSleep = [this](int sleeps) {
    if (sleeps > 1) {
      owner.count = 0;
    }
  };
  clock.atWait = [this] {
    EXPECT_EQ(item.image(), "watching");
    EXPECT_FALSE(looksBusy());
    // Two wake-ups for nothing, then one for a scan.
    owner.count = clock.waits == 3 ? 1 : 0;
  };
  throbber.round();
  EXPECT_EQ(clock.waits, 3);
  EXPECT_EQ(clock.shown.size(), 13U);
}

TEST_F(ThrobberAnimation, WorkThatBeginsAndEndsInTheSecondAfterABusyPeriodIsNeverAnimated) {
  watch(throbber);
  owner.count = 1;
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 2) {
      owner.count = 0;
    }
    // The second round's sleep: a scan runs from its beginning to its end.
    if (sleeps == 14) {
      ++owner.count;
      EXPECT_EQ(item.image(), "watching");
      EXPECT_FALSE(looksBusy());
      --owner.count;
    }
  };
  throbber.round();
  const std::size_t shownBefore = item.images().size();
  clock.atWait = [&] {
    EXPECT_EQ(item.images().size(), shownBefore);
    EXPECT_TRUE(looksWatching());
    EXPECT_FALSE(looksBusy());
    owner.count = 1;
    clock.atSleep = [this](int) { owner.count = 0; };
  };
  throbber.round();
  EXPECT_EQ(clock.waits, 1);
}

TEST_F(ThrobberAnimation, AnUpdateStartedWhileNotWatchingIsNotAnimated) {
  throbber.clearMenu();
  throbber.startUpdate();
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 4) {
      throbber.stopUpdate();
    }
    if (sleeps == 5) {
      watch(throbber);
    }
    if (sleeps > 5) {
      owner.count = 0;
    }
  };
  clock.atWait = [this] { owner.count = 1; };
  throbber.round();
  EXPECT_EQ(clock.shown, joined({Shown(5, {"default", milliseconds(1000)}), scanPass()}));
}

TEST_F(ThrobberAnimation, AnUpdateThatStartsDuringAScanChangesNothing) {
  watch(throbber);
  owner.count = 1;
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 3) {
      throbber.startUpdate();
      owner.modifyScannerCountBy(-1);
    }
    // In the second pass, which only the update keeps going.
    if (sleeps == 16) {
      throbber.stopUpdate();
    }
  };
  throbber.round();
  EXPECT_EQ(clock.shown, joined({sleepShowing("watching"), scanPass(), scanPass()}));
}

TEST_F(ThrobberAnimation, AScanThatStartsDuringAnUpdateIsAnimatedFromTheNextRoundOn) {
  watch(throbber);
  throbber.startUpdate();
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 3) {
      owner.modifyScannerCountBy(1);
      throbber.stopUpdate();
    }
    if (sleeps == 10) {
      owner.modifyScannerCountBy(-1);
    }
  };
  throbber.round();
  EXPECT_EQ(item.image(), "watching");
  EXPECT_EQ(owner.count, 1);
  throbber.round();
  EXPECT_EQ(clock.shown,
            joined({sleepShowing("watching"), updatePass(), sleepShowing("watching"), scanPass()}));
}

TEST_F(ThrobberAnimation, StoppingToWatchDuringAScanEndsAsWatchingAndThenPolls) {
  watch(throbber);
  owner.count = 1;
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 3) {
      throbber.clearMenu();
      EXPECT_EQ(item.image(), "default");
      EXPECT_TRUE(looksIdle());
      owner.count = 0;
    }
  };
  throbber.round();
  EXPECT_EQ(item.image(), "watching");
  EXPECT_TRUE(looksWatching());
  EXPECT_FALSE(throbber.isCurrentlyWatching());

  owner.count = 1;
  clock.shown.clear();
  clock.sleeps = 0;
  clock.atSleep = [this](int sleeps) {
    if (sleeps == 3) {
      watch(throbber);
    }
    if (sleeps > 3) {
      owner.count = 0;
    }
  };
  throbber.round();
  EXPECT_EQ(clock.shown, joined({Shown(3, {"watching", milliseconds(1000)}), scanPass()}));
}

TEST_F(ThrobberAnimation, AnUpdateIsReportedBeforeItCounts) {
  watch(throbber);
  // The animation chooses as soon as the count rises.
  owner.atChange = [this](std::int32_t delta) { EXPECT_EQ(throbber.isUpdating(), delta > 0); };
  throbber.startUpdate();
  throbber.stopUpdate();
  EXPECT_EQ(owner.changes, 2);
}

TEST_F(ThrobberAnimation, AnUpdateRaisesTheCountForItsLength) {
  throbber.startUpdate();
  EXPECT_TRUE(throbber.isUpdating());
  EXPECT_EQ(owner.count, 1);
  throbber.stopUpdate();
  EXPECT_FALSE(throbber.isUpdating());
  EXPECT_EQ(owner.count, 0);
}

TEST_F(ThrobberAnimation, WatchingIsShownWhenTheLastReportArrives) {
  throbber.clearMenu();
  throbber.setNumItemsToWatch(2);
  throbber.addToMenuWithObjectToWatch("/a", "/a");
  throbber.setReady();
  EXPECT_FALSE(throbber.isCurrentlyWatching());
  EXPECT_EQ(item.image(), "default");
  EXPECT_EQ(menu.startMenuItem.title(), "<WAIT>");
  throbber.addToMenuWithObjectToWatch("/b", "/b");
  throbber.setReady();
  EXPECT_TRUE(throbber.isCurrentlyWatching());
  EXPECT_EQ(item.image(), "watching");
  EXPECT_EQ(item.alternateImage(), "alt");
  EXPECT_EQ(menu.startMenuItem.title(), "Start Watching");
  EXPECT_TRUE(looksWatching());
}

TEST_F(ThrobberAnimation, OneFolderIsEnoughAndFurtherReportsDoNoHarm) {
  watch(throbber);
  EXPECT_TRUE(throbber.isCurrentlyWatching());
  throbber.setReady();
  EXPECT_TRUE(throbber.isCurrentlyWatching());
  EXPECT_EQ(item.image(), "watching");
  EXPECT_TRUE(looksWatching());
}

TEST_F(ThrobberAnimation, WithoutFoldersTheAgentStaysIdleUntilAnyReport) {
  throbber.clearMenu();
  throbber.setNumItemsToWatch(0);
  EXPECT_FALSE(throbber.isCurrentlyWatching());
  EXPECT_TRUE(looksIdle());
  throbber.setReady();
  EXPECT_TRUE(throbber.isCurrentlyWatching());
  EXPECT_EQ(item.image(), "watching");
}

TEST_F(ThrobberAnimation, ClearingReturnsToIdleAndForgetsTheReports) {
  watch(throbber);
  throbber.clearMenu();
  EXPECT_FALSE(throbber.isCurrentlyWatching());
  EXPECT_EQ(item.image(), "default");
  EXPECT_EQ(desktop.application.iconImages().back(), "dock_default");
  EXPECT_EQ(item.alternateImage(), "alt2");
  EXPECT_TRUE(looksIdle());
  throbber.setNumItemsToWatch(2);
  throbber.setReady();
  EXPECT_FALSE(throbber.isCurrentlyWatching());
}

}  // namespace
}  // namespace quillo
