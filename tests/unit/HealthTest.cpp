#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

#include "agent/Health.h"
#include "agent/ScannerCount.h"
#include "agent/StatusBoard.h"
#include "clamav/Verdict.h"
#include "scanning/Dispatcher.h"
#include "scanning/UnscannedFiles.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using std::chrono::hours;
using std::chrono::minutes;

class HealthTest : public testing::Test {
 protected:
  LoadedDefinitions asked() {
    if (std::exchange(failsOnce, false)) {
      throw std::runtime_error("no memory");
    }
    return definitions;
  }
  void built(hours age) { definitions = {true, clock.wallTime() - age}; }
  Clock::Duration untilNextLook() {
    const Clock::Duration before = clock.now();
    health.round();
    return clock.now() - before;
  }

  FakePlatform desktop;
  PassingClock clock;
  ScannerCount scannerCount{clock};
  StatusBoard statusBoard{
      {clock, desktop.dockTile, desktop.folders, desktop.localizedStrings, scannerCount}};
  LoadedDefinitions definitions;
  std::vector<std::string> missing;
  bool daemonAnswers = false;
  bool daemonCanUnpack = true;
  int looks = 0;
  bool failsOnce = false;
  Health health{{clock, desktop.systemLog, statusBoard, [this] { return asked(); },
                 [this] { return missing; }, [this] { return daemonAnswers; },
                 [this] { return daemonCanUnpack; }, [this] { ++looks; }}};
};

TEST_F(HealthTest, IsLookedAfterAsSoonAsWatchingBeginsAndThenNowAndThen) {
  health.setWatching(true);
  EXPECT_EQ(untilNextLook(), Clock::Duration());
  EXPECT_EQ(untilNextLook(), Health::betweenLooks);
  EXPECT_EQ(looks, 2);
  EXPECT_EQ(statusBoard.status().definitions, DefinitionState::goodOrUnknown);
}

TEST_F(HealthTest, IsLookedAfterEveryMinuteInTrouble) {
  definitions.real = false;
  health.setWatching(true);
  health.round();
  EXPECT_EQ(statusBoard.status().definitions, DefinitionState::none);
  EXPECT_EQ(untilNextLook(), minutes(1));
  definitions.real = true;
  EXPECT_EQ(untilNextLook(), minutes(1));
  EXPECT_EQ(statusBoard.status().definitions, DefinitionState::goodOrUnknown);
  EXPECT_EQ(untilNextLook(), Health::betweenLooks);
}

TEST_F(HealthTest, IsLookedAfterWhenAnUpdateHasEnded) {
  health.setWatching(true);
  health.round();
  health.lookSoon();
  EXPECT_EQ(untilNextLook(), Clock::Duration());
}

TEST_F(HealthTest, CallsDefinitionsOldAfterTwoWeeks) {
  health.setWatching(true);
  built(hours(14 * 24));
  health.round();
  EXPECT_EQ(statusBoard.status().definitions, DefinitionState::goodOrUnknown);
  built(hours(23 * 24 + 5));
  health.lookSoon();
  health.round();
  EXPECT_EQ(statusBoard.status().definitions, DefinitionState::old);
  EXPECT_EQ(statusBoard.status().daysOfDefinitions, 23U);
}

TEST_F(HealthTest, LogsTheAgeOnceUntilItWasMended) {
  const std::string line =
      "The virus definitions are 15 days old: newer malware is not found until they have been "
      "updated";
  health.setWatching(true);
  built(hours(15 * 24));
  health.round();
  health.lookSoon();
  health.round();
  EXPECT_EQ(desktop.systemLog.count(line), 1);
  built(hours(1));
  health.lookSoon();
  health.round();
  built(hours(15 * 24));
  health.lookSoon();
  health.round();
  EXPECT_EQ(desktop.systemLog.count(line), 2);
}

TEST_F(HealthTest, ReportsFoldersThatAreNotThere) {
  missing = {"/home/anna/A/", "/b"};
  health.setWatching(true);
  health.round();
  EXPECT_EQ(statusBoard.status().missingFolders, 2U);
  EXPECT_EQ(statusBoard.status().missingFolder, "~/A/");
  EXPECT_EQ(untilNextLook(), minutes(1));
}

TEST_F(HealthTest, CallsAnEngineFailedUntilItAnswers) {
  statusBoard.setEngineFails(true);
  health.setWatching(true);
  health.round();
  EXPECT_TRUE(statusBoard.status().engineFails);
  daemonAnswers = true;
  EXPECT_EQ(untilNextLook(), minutes(1));
  EXPECT_FALSE(statusBoard.status().engineFails);
  EXPECT_EQ(untilNextLook(), Health::betweenLooks);
}

TEST_F(HealthTest, HasFilesThatWaitForTheDaemonScannedAsSoonAsItAnswers) {
  FakeGuardedPlaces everything;
  FakeScanObserver observer;
  Dispatcher dispatcher(clock, desktop.systemLog, desktop.volumes, nullptr);
  Health* looker = nullptr;
  UnscannedFiles unscanned({clock, desktop.systemLog, dispatcher, observer, everything,
                            [&](Clock::Duration time) { looker->lookWithin(time); }});
  int asked = 0;
  Health other({clock, desktop.systemLog, statusBoard, [this] { return definitions; },
                [this] { return missing; },
                [&] {
                  ++asked;
                  return daemonAnswers;
                },
                [this] { return daemonCanUnpack; }, [this] { ++looks; }, &unscanned});
  looker = &other;
  const auto untilNextLook = [&] {
    const Clock::Duration before = clock.now();
    other.round();
    return clock.now() - before;
  };
  other.setWatching(true);
  other.round();
  EXPECT_EQ(asked, 0);
  Verdict left;
  left.kind = Verdict::Kind::notScanned;
  left.path = "/a";
  left.daemonGone = Verdict::DaemonGone::before;
  unscanned.take(left);
  unscanned.runEnded({1, 0, 0, false});
  EXPECT_EQ(untilNextLook(), Clock::Duration());
  EXPECT_EQ(untilNextLook(), minutes(1));
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  daemonAnswers = true;
  EXPECT_EQ(untilNextLook(), minutes(1));
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
  EXPECT_EQ(untilNextLook(), Health::betweenLooks);
  EXPECT_EQ(asked, 3);
  // Of those that the daemon had, one waits for the other.
  left.daemonGone = Verdict::DaemonGone::meanwhile;
  for (const char* path : {"/b", "/c"}) {
    left.path = path;
    unscanned.take(left);
  }
  unscanned.runEnded({2, 0, 0, false});
  EXPECT_EQ(untilNextLook(), Clock::Duration());
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 2U);
  EXPECT_EQ(untilNextLook(), minutes(1));
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 3U);
  EXPECT_EQ(untilNextLook(), Health::betweenLooks);
}

TEST_F(HealthTest, CallsAnEngineFailedThatCannotUnpackWhatWaits) {
  FakeGuardedPlaces everything;
  FakeScanObserver observer;
  Dispatcher dispatcher(clock, desktop.systemLog, desktop.volumes, nullptr);
  UnscannedFiles unscanned(
      {clock, desktop.systemLog, dispatcher, observer, everything, [](Clock::Duration) {}});
  Health other({clock, desktop.systemLog, statusBoard, [this] { return definitions; },
                [this] { return missing; }, [] { return true; }, [this] { return daemonCanUnpack; },
                [] {}, &unscanned});
  Verdict left;
  left.kind = Verdict::Kind::notScanned;
  left.path = "/a";
  left.daemonGone = Verdict::DaemonGone::before;
  unscanned.take(left);
  daemonCanUnpack = false;
  other.setWatching(true);
  other.round();
  EXPECT_TRUE(statusBoard.status().engineFails);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  daemonCanUnpack = true;
  const Clock::Duration before = clock.now();
  other.round();
  EXPECT_EQ(clock.now() - before, Health::betweenLooksInTrouble);
  EXPECT_FALSE(statusBoard.status().engineFails);
  EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
}

TEST_F(HealthTest, IsLookedAfterAgainAMinuteAfterALookFailed) {
  failsOnce = true;
  health.setWatching(true);
  health.round();
  EXPECT_EQ(looks, 0);
  EXPECT_EQ(desktop.systemLog.count("Health: a look failed: no memory"), 1);
  EXPECT_EQ(untilNextLook(), minutes(1));
  EXPECT_EQ(looks, 1);
  EXPECT_EQ(untilNextLook(), Health::betweenLooks);
}

TEST_F(HealthTest, IsNotLookedAfterWhileNothingIsWatched) {
  ManualClock parked;
  Health other{{parked, desktop.systemLog, statusBoard, [this] { return definitions; },
                [this] { return missing; }, [this] { return daemonAnswers; },
                [this] { return daemonCanUnpack; }, [this] { ++looks; }}};
  JoinedThreads thread([&other] { other.round(); });
  other.lookSoon();
  EXPECT_TRUE(parked.waitUntilParked(1));
  parked.advance(hours(5));
  EXPECT_TRUE(parked.waitUntilParked(1));
  EXPECT_EQ(looks, 0);
  other.setWatching(true);
  parked.advance(minutes(1));
  thread.join();
  EXPECT_EQ(looks, 1);
}

}  // namespace
}  // namespace quillo
