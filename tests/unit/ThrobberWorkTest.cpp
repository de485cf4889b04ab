#include "tests/fakes/menu/ThrobberFixture.h"

namespace quillo {
namespace {

// Work of either kind that begins after watching was stopped while nothing ran.
class WorkAfterStop : public ThrobberFixture {
 protected:
  WorkAfterStop() { throbber.prepare(owner); }

  // Gives what was shown from the stop on, until watching was begun again and a scan was animated.
  void stopThenWork(const std::function<void()>& begin, const std::function<void()>& end) {
    watch(throbber);
    clock.atWait = [this, begin] {
      throbber.clearMenu();
      begin();
    };
    clock.atSleep = [this, end](int sleeps) {
      // The first is the one before the stop.
      if (sleeps > 1 && sleeps < 4) {
        EXPECT_TRUE(looksIdle());
        EXPECT_FALSE(looksBusy());
      }
      if (sleeps == 4) {
        end();
        watch(throbber);
        owner.count = 1;
      }
      if (sleeps > 4) {
        owner.count = 0;
      }
    };
    throbber.round();
  }
  static Shown idleThenScan() {
    Shown expected = sleepShowing("watching");
    append(expected, Shown(3, {"default", std::chrono::milliseconds(1000)}));
    append(expected, scanPass());
    return expected;
  }

  Throbber throbber{services()};
};

TEST_F(WorkAfterStop, LeavesTheIconIdleWhenItIsAScan) {
  stopThenWork([this] { owner.count = 1; }, [this] { owner.count = 0; });
  EXPECT_EQ(clock.shown, idleThenScan());
}

TEST_F(WorkAfterStop, LeavesTheIconIdleWhenItIsAnUpdate) {
  stopThenWork([this] { throbber.startUpdate(); }, [this] { throbber.stopUpdate(); });
  EXPECT_EQ(clock.shown, idleThenScan());
}

TEST_F(WorkAfterStop, LeavesTheIconIdleWhenItIsAScanDuringAnUpdate) {
  stopThenWork(
      [this] {
        throbber.startUpdate();
        owner.modifyScannerCountBy(1);
      },
      [this] {
        owner.modifyScannerCountBy(-1);
        throbber.stopUpdate();
      });
  EXPECT_EQ(clock.shown, idleThenScan());
}

class ThrobberUpdate : public ThrobberFixture {};

TEST_F(ThrobberUpdate, IsOverBeforeTheCountFalls) {
  Throbber throbber{services()};
  throbber.setController(owner);
  std::vector<std::pair<std::int32_t, bool>> changes;
  owner.atChange = [&](std::int32_t delta) { changes.emplace_back(delta, throbber.isUpdating()); };
  throbber.startUpdate();
  throbber.stopUpdate();
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1], (std::pair<std::int32_t, bool>{-1, false}));
}

}  // namespace
}  // namespace quillo
