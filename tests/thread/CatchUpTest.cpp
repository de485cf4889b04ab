#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>

#include "posix/UniqueFd.h"
#include "tests/fakes/watching/CatchUpFixture.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::system_clock;

class CatchUpTest : public CatchUpFixture {};

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

TEST_F(CatchUpTest, LooksOnceMoreWhereDescriptorsWereShort) {
  std::string deep;
  for (int level = 0; level < 20; ++level) {
    deep += "deep/";
  }
  const std::string missed = folder.write(deep + "missed", "x");
  begin();
  catchUp->runEnded();
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const auto next = static_cast<rlim_t>(UniqueFd(dup(0)).get());
  const rlimit few = {next + 8, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  beginRun();
  EXPECT_TRUE(clock.waitUntilParked(1));
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(owner.paths(), Lines());
  clock.advance(seconds(10));
  join();
  EXPECT_EQ(owner.paths(), Lines{missed});
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
