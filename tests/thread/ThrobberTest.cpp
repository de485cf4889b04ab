#include <gtest/gtest.h>

#include "tests/fakes/menu/ThrobberFixture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Counts and signals as an agent does.
class CountingOwner final : public ThrobberOwner {
 public:
  explicit CountingOwner(Clock& clock) : lock_(clock) {}

  std::int32_t scannerCount() override { return count; }
  void modifyScannerCountBy(std::int32_t delta) override {
    lock_.lock();
    count += delta;
    lock_.signal();
    lock_.unlock();
  }
  StatusFacts status() override { return {}; }
  Condition& throbberLock() override { return lock_; }
  void restartWatcher() override {}
  void updateEnded() override {}
  void statusChanged() override {}
  std::optional<std::string> updateLog() override { return std::nullopt; }

  std::atomic<std::int32_t> count{0};

 private:
  Condition lock_;
};

class ThrobberThread : public testing::Test {
 protected:
  ThrobberThread() { throbber.prepare(owner); }

  void watch() {
    throbber.clearMenu();
    throbber.setNumItemsToWatch(1);
    throbber.addToMenuWithObjectToWatch("/srv", "/srv");
    throbber.setReady();
  }
  // Something runs for a while and then nothing for longer, until a round is over.
  void stopLoop(LoopThread& loop) {
    int times = 0;
    loop.stop([this, &times] {
      throbber.setReady();
      const std::int32_t wanted = ++times % 40 < 10 ? 1 : 0;
      owner.modifyScannerCountBy(wanted - owner.count);
      clock.advance(seconds(30));
    });
  }
  // Waits until the thread sleeps, and gives the image that it shows.
  std::string shown() {
    EXPECT_TRUE(clock.waitUntilParked(1));
    return desktop.statusBar.item.image();
  }

  ManualClock clock;
  FakePlatform desktop;
  CountingOwner owner{clock};
  Throbber throbber{throbberServicesOf(desktop, clock)};
};

TEST_F(ThrobberThread, AScanIsAnimatedFrameByFrame) {
  watch();
  owner.modifyScannerCountBy(1);
  LoopThread loop([this] { throbber.round(); });
  EXPECT_EQ(shown(), "watching");
  clock.advance(milliseconds(999));
  EXPECT_EQ(shown(), "watching");
  clock.advance(milliseconds(1));
  for (int pass = 0; pass < 2; ++pass) {
    EXPECT_EQ(shown(), "scanning1");
    clock.advance(milliseconds(199));
    EXPECT_EQ(shown(), "scanning1");
    clock.advance(milliseconds(1));
    for (const int frame : {2, 3, 4, 5, 6, 7, 6, 5, 4, 3, 2}) {
      EXPECT_EQ(shown(), "scanning" + std::to_string(frame));
      if (pass == 1) {
        owner.count = 0;
      }
      clock.advance(milliseconds(100));
    }
  }
  EXPECT_EQ(shown(), "watching");
  EXPECT_EQ(clock.now(), milliseconds(1000 + 2 * 1300));
  stopLoop(loop);
}

TEST_F(ThrobberThread, AnUpdateWakesItAndIsAnimatedBackwards) {
  watch();
  LoopThread loop([this] { throbber.round(); });
  EXPECT_EQ(shown(), "watching");
  clock.advance(seconds(1));
  EXPECT_EQ(shown(), "watching");
  throbber.startUpdate();
  EXPECT_TRUE(
      clock.waitUntilParkedAnd([this] { return desktop.statusBar.item.image() != "watching"; }));
  for (const int frame : {7, 6, 5, 4, 3, 2, 1}) {
    EXPECT_EQ(shown(), "scanning" + std::to_string(frame));
    if (frame == 3) {
      throbber.stopUpdate();
    }
    clock.advance(milliseconds(100));
  }
  EXPECT_EQ(shown(), "watching");
  stopLoop(loop);
}

TEST_F(ThrobberThread, ALostSignalDelaysTheAnimationByThirtySeconds) {
  watch();
  // Between the look at the count and the wait.
  clock.beforeNextWait([this](std::unique_lock<std::mutex>& held) {
    held.unlock();
    owner.modifyScannerCountBy(1);
    held.lock();
  });
  LoopThread loop([this] { throbber.round(); });
  EXPECT_EQ(shown(), "watching");
  clock.advance(seconds(1));
  EXPECT_EQ(shown(), "watching");
  clock.advance(seconds(29));
  EXPECT_EQ(shown(), "watching");
  clock.advance(seconds(1));
  EXPECT_EQ(shown(), "scanning1");
  stopLoop(loop);
}

TEST_F(ThrobberThread, StartsStopsScansAndUpdatesMayComeAtAnyMoment) {
  LoopThread loop([this] { throbber.round(); });
  constexpr int times = 200;
  JoinedThreads starter([this] {
    for (int time = 0; time < times; ++time) {
      watch();
    }
  });
  JoinedThreads scanner([this] {
    for (int time = 0; time < times; ++time) {
      owner.modifyScannerCountBy(1);
      owner.modifyScannerCountBy(-1);
    }
  });
  JoinedThreads updater([this] {
    for (int time = 0; time < times; ++time) {
      throbber.monitor().lock();
      throbber.startUpdate();
      throbber.stopUpdate();
      throbber.monitor().unlock();
    }
  });
  for (int time = 0; time < times; ++time) {
    clock.advance(milliseconds(150));
    static_cast<void>(throbber.getQuitMenuName());
    throbber.canRestartFromAS();
  }
  starter.join();
  scanner.join();
  updater.join();
  EXPECT_EQ(owner.count, 0);
  EXPECT_TRUE(throbber.isCurrentlyWatching());
  EXPECT_EQ(desktop.mainInterface.theSubMenu.titles(), std::vector<std::string>{"/srv"});
  stopLoop(loop);
}

}  // namespace
}  // namespace quillo
