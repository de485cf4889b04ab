#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <future>

#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"
#include "watchers/CatchUp.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::system_clock;

class CatchUpTest : public testing::Test {
 protected:
  CatchUpTest() {
    desktop.folders.home = home.path();
    clock.setWallTime(system_clock::now());
    owner.watch(folder.path() + "/", true);
    catchUp = std::make_unique<CatchUp>(owner, services);
  }

  void hear(const std::string& chunk) { catchUp->heard(chunk, catchUp->then()); }
  // Of a helper that watches from now on.
  void beginRun() {
    catchUp->runBegins();
    hear("\n");
  }
  void begin() {
    catchUp->watchingBegins();
    beginRun();
  }
  void join() { owner.threads.join(); }
  // The next agent.
  void startAnew() {
    catchUp->watchingEnds();
    catchUp = nullptr;
    owner.paths.clear();
    catchUp = std::make_unique<CatchUp>(owner, services);
  }
  int looks() { return desktop.backgroundWork.gaveWay; }
  bool hasLine(const std::string& part) {
    const Lines lines = desktop.systemLog.lines();
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
      return line.find(part) != std::string::npos;
    });
  }
  std::string kept() const { return desktop.folders.stateFolder() + "/last-watched"; }

  TemporaryFolder home;
  TemporaryFolder folder;
  FakePlatform desktop;
  ManualClock clock;
  FakeWatcherOwner owner;
  WatcherServices services = watcherServicesOf(desktop, clock, owner);
  std::unique_ptr<CatchUp> catchUp;
};

TEST_F(CatchUpTest, HandsOnWhatChangedSinceAHelperEndedUnbidden) {
  begin();
  const std::string missed = folder.write("missed", "x");
  catchUp->runEnded();
  EXPECT_EQ(looks(), 0) << "nobody watches yet";
  beginRun();
  ASSERT_TRUE(owner.paths.waitForCount(1));
  join();
  EXPECT_EQ(owner.paths(), Lines{missed});
  EXPECT_TRUE(hasLine("Looking for files that changed since "));
  EXPECT_TRUE(hasLine("Missed files: 1 file in 1 folder looked at, 1 handed on, in "));
}

TEST_F(CatchUpTest, LeavesAloneWhatChangedLongBefore) {
  folder.write("old", "x");
  clock.advance(hours(1));
  begin();
  catchUp->runEnded();
  beginRun();
  join();
  EXPECT_EQ(looks(), 1);
  EXPECT_EQ(owner.paths(), Lines());
}

TEST_F(CatchUpTest, LooksForNothingWhereNothingWasMissed) {
  begin();
  hear(folder.path() + "/file\n");
  hear("\n");
  catchUp->watchingEnds();
  begin();
  join();
  EXPECT_EQ(looks(), 0);
}

TEST_F(CatchUpTest, GoesBackToTheLastMomentAtWhichAllWasTold) {
  begin();
  clock.advance(hours(1));
  hear("\n");
  hear("\n");
  clock.advance(hours(1));
  // What was told without a mark behind it may not have been all.
  hear("/elsewhere/x\n");
  clock.setWallTime(system_clock::now() + minutes(50));
  const std::string missed = folder.write("missed", "x");
  clock.setWallTime(system_clock::now() + minutes(59));
  catchUp->runEnded();
  beginRun();
  join();
  EXPECT_EQ(owner.paths(), Lines{missed});
}

// As by a process that was stopped for as long.
TEST_F(CatchUpTest, TrustsAMarkOnlyForWhatItHeardBefore) {
  begin();
  hear("/elsewhere/x\n");
  clock.advance(hours(1));
  hear("\n");
  const std::string missed = folder.write("missed", "x");
  catchUp->runEnded();
  beginRun();
  join();
  EXPECT_EQ(owner.paths(), Lines{missed});
}

TEST_F(CatchUpTest, FindsWhatWasSavedAfterTheClockWasSetBack) {
  clock.setWallTime(system_clock::now() + hours(24));
  begin();
  clock.advance(minutes(5));
  clock.setWallTime(system_clock::now());
  const std::string missed = folder.write("missed", "x");
  catchUp->runEnded();
  beginRun();
  join();
  EXPECT_EQ(owner.paths(), Lines{missed});
}

TEST_F(CatchUpTest, PassesTheFilterOfTheWatcher) {
  begin();
  desktop.preferenceStore.set("QuarantineFolder", folder.path() + "/Quarantine/");
  folder.write("Quarantine/file", "x");
  folder.write(".Trash/file", "x");
  const std::string missed = folder.write("missed", "x");
  catchUp->runEnded();
  beginRun();
  join();
  EXPECT_EQ(owner.paths(), Lines{missed});
}

TEST_F(CatchUpTest, GivesWayToEverythingElse) {
  desktop.backgroundWork.refusal = "no idle class";
  begin();
  catchUp->runEnded();
  beginRun();
  join();
  EXPECT_EQ(looks(), 1);
  EXPECT_TRUE(desktop.systemLog.has("no idle class"));
}

TEST_F(CatchUpTest, HandsOnNothingOnceWatchingHasEndedAndTheRestAtTheNextStart) {
  begin();
  catchUp->runEnded();
  for (int number = 0; number < 250; ++number) {
    folder.write("missed" + std::to_string(number), "x");
  }
  owner.onList = [this] { catchUp->watchingEnds(); };
  beginRun();
  join();
  EXPECT_EQ(owner.paths().size(), 100U);
  EXPECT_TRUE(hasLine("The look for missed files was ended: "));
  owner.onList = nullptr;
  clock.advance(minutes(1));
  begin();
  join();
  EXPECT_EQ(owner.paths().size(), 350U);
}

TEST_F(CatchUpTest, IsForgottenWhenItsUserAbortsIt) {
  begin();
  catchUp->runEnded();
  for (int number = 0; number < 250; ++number) {
    folder.write("missed" + std::to_string(number), "x");
  }
  owner.onList = [this] { catchUp->abort(); };
  beginRun();
  join();
  EXPECT_EQ(owner.paths().size(), 100U);
  clock.advance(minutes(1));
  catchUp->watchingEnds();
  begin();
  join();
  EXPECT_EQ(owner.paths().size(), 100U);
}

TEST_F(CatchUpTest, RestsBetweenTwoLooks) {
  begin();
  catchUp->runEnded();
  beginRun();
  join();
  const std::string missed = folder.write("missed", "x");
  catchUp->runEnded();
  beginRun();
  ASSERT_TRUE(clock.waitUntilParked(1));
  EXPECT_EQ(owner.paths(), Lines());
  clock.advance(seconds(10));
  join();
  EXPECT_EQ(owner.paths(), Lines{missed});
}

TEST_F(CatchUpTest, LooksForNothingAfterARestInWhichItsUserAbortedIt) {
  begin();
  catchUp->runEnded();
  beginRun();
  join();
  folder.write("missed", "x");
  catchUp->runEnded();
  beginRun();
  ASSERT_TRUE(clock.waitUntilParked(1));
  catchUp->abort();
  clock.advance(seconds(10));
  join();
  EXPECT_EQ(looks(), 2);
  EXPECT_EQ(owner.paths(), Lines());
}

TEST_F(CatchUpTest, EndsARestAtOnceWhenWatchingEnds) {
  begin();
  catchUp->runEnded();
  beginRun();
  join();
  catchUp->runEnded();
  beginRun();
  ASSERT_TRUE(clock.waitUntilParked(1));
  catchUp->watchingEnds();
  join();
  EXPECT_EQ(looks(), 2);
}

TEST_F(CatchUpTest, AtTheStartIsDoneOnlyIfThePreferenceSaysSo) {
  begin();
  startAnew();
  folder.write("between", "x");
  begin();
  join();
  EXPECT_EQ(looks(), 0);
  EXPECT_FALSE(fs::exists(kept()));
}

TEST_F(CatchUpTest, AtTheStartFindsWhatWasSavedSinceWatchingEnded) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  EXPECT_EQ(looks(), 0);
  EXPECT_TRUE(hasLine("When files were watched last is not known"));
  startAnew();
  clock.advance(hours(3));
  const std::string missed = folder.write("missed", "x");
  begin();
  join();
  EXPECT_EQ(owner.paths(), Lines{missed});
}

// They can have been told of and not been scanned.
TEST_F(CatchUpTest, AtTheStartFindsWhatWasSavedShortlyBeforeWatchingEnded) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  const std::string waiting = folder.write("waiting", "x");
  clock.advance(seconds(60));
  hear("\n");
  hear("\n");
  startAnew();
  begin();
  join();
  EXPECT_EQ(owner.paths(), Lines{waiting});
}

TEST_F(CatchUpTest, AtTheStartLooksForNothingAfterTheClockWasSetBack) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  startAnew();
  clock.setWallTime(system_clock::now() - hours(1));
  begin();
  join();
  EXPECT_EQ(looks(), 0);
  EXPECT_TRUE(hasLine("the clock was set back since"));
}

TEST_F(CatchUpTest, KeepsTheMomentAtMostOnceAMinute) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  const std::string first = TemporaryFolder::read(kept());
  for (int second = 0; second < 59; ++second) {
    clock.advance(seconds(1));
    hear("\n");
  }
  EXPECT_EQ(TemporaryFolder::read(kept()), first);
  clock.advance(seconds(1));
  hear("\n");
  EXPECT_NE(TemporaryFolder::read(kept()), first);
}

// This process can be killed before it is done.
TEST_F(CatchUpTest, KeepsTheMomentBeforeALookThatGoesOn) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  const std::string first = TemporaryFolder::read(kept());
  folder.write("missed", "x");
  catchUp->runEnded();
  std::string meanwhile;
  std::promise<void> begun;
  owner.onList = [&, isBegun = begun.get_future().share()] {
    isBegun.wait();
    for (int mark = 0; mark < 2; ++mark) {
      clock.advance(minutes(2));
      hear("\n");
    }
    meanwhile = TemporaryFolder::read(kept());
  };
  beginRun();
  begun.set_value();
  join();
  EXPECT_EQ(meanwhile, first);
}

// This agent can end before they have come to be scanned.
TEST_F(CatchUpTest, KeepsTheMomentBeforeFilesThatWaitForTheirVerdict) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  bool filesWait = false;
  services.filesWait = [&] { return filesWait; };
  begin();
  const std::string first = TemporaryFolder::read(kept());
  filesWait = true;
  const auto keptTwoMinutesLater = [&] {
    clock.advance(minutes(2));
    hear("\n");
    return TemporaryFolder::read(kept());
  };
  EXPECT_EQ(keptTwoMinutesLater(), first);
  EXPECT_EQ(keptTwoMinutesLater(), first);
  filesWait = false;
  EXPECT_NE(keptTwoMinutesLater(), first);
}

TEST_F(CatchUpTest, KeepsTheMomentBeforeWhatALookHasJustHandedOn) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  const std::string first = TemporaryFolder::read(kept());
  catchUp->runEnded();
  clock.advance(minutes(10));
  beginRun();
  join();
  clock.advance(seconds(119));
  hear("\n");
  EXPECT_EQ(TemporaryFolder::read(kept()), first);
  clock.advance(minutes(1));
  hear("\n");
  EXPECT_NE(TemporaryFolder::read(kept()), first);
}

TEST_F(CatchUpTest, KeepsNoMomentThatNobodyHasWatched) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  catchUp->watchingEnds();
  EXPECT_FALSE(fs::exists(kept()));
}

TEST_F(CatchUpTest, SaysOnceThatTheMomentCannotBeKept) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  home.write(".local", "no folder");
  begin();
  clock.advance(minutes(2));
  hear("\n");
  const Lines lines = desktop.systemLog.lines();
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) {
                            return line.find("cannot be kept") != std::string::npos;
                          }),
            1);
}

TEST(HelperMarks, AreEmptyLines) {
  for (const char* chunk : {"\n", "/a\n\n", "\n/a\n", "/a\n\n/b\n"}) {
    EXPECT_TRUE(holdsMark(chunk)) << chunk;
  }
  for (const char* chunk : {"", "/a\n", "/a\n/b\n", "gfslogger: broken\n"}) {
    EXPECT_FALSE(holdsMark(chunk)) << chunk;
  }
}

}  // namespace
}  // namespace quillo
