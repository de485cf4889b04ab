#include <gtest/gtest.h>

#include <algorithm>

#include "clamav/Verdict.h"
#include "scanning/Dispatcher.h"
#include "scanning/UnscannedFiles.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Paths = std::vector<std::string>;
using Outcome = UnscannedFiles::Outcome;
using Gone = Verdict::DaemonGone;
using std::chrono::minutes;

Verdict verdictOf(Verdict::Kind kind, const std::string& path, Gone gone = Gone::no) {
  Verdict verdict;
  verdict.kind = kind;
  verdict.path = path;
  verdict.reason = kind == Verdict::Kind::notScanned ? "the reason" : "";
  verdict.daemonGone = gone;
  return verdict;
}

class UnscannedFilesTest : public testing::Test {
 protected:
  Outcome leave(const std::string& path, Gone gone = Gone::before) {
    return files.take(verdictOf(Verdict::Kind::notScanned, path, gone));
  }
  Outcome judge(const std::string& path, Verdict::Kind kind = Verdict::Kind::clean) {
    return files.take(verdictOf(kind, path));
  }
  // What the dispatcher is given when the daemon is back.
  Paths reported() {
    pipeline.noticedPaths.clear();
    files.reportAnew();
    Paths paths = pipeline.noticedPaths();
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  Paths told() { return observer.reports(); }

  ManualClock clock;
  FakePlatform desktop;
  FakePipelineObserver pipeline;
  Dispatcher dispatcher{clock, desktop.systemLog, desktop.volumes, &pipeline};
  FakeScanObserver observer;
  FakeGuardedPlaces places;
  std::vector<Clock::Duration> looks;
  UnscannedFiles files{{clock, desktop.systemLog, dispatcher, observer, places,
                        [this](Clock::Duration time) { looks.push_back(time); }}};
};

TEST_F(UnscannedFilesTest, AreReportedAnewOnceWhenTheDaemonIsBack) {
  EXPECT_EQ(leave("/a"), Outcome::comesBack);
  EXPECT_EQ(leave("/b"), Outcome::comesBack);
  EXPECT_EQ(leave("/a"), Outcome::comesBack);
  EXPECT_TRUE(files.areWaiting());
  EXPECT_EQ(reported(), (Paths{"/a", "/b"}));
  EXPECT_FALSE(files.areWaiting());
  EXPECT_EQ(reported(), Paths());
  EXPECT_EQ(told(), Paths());
}

TEST_F(UnscannedFilesTest, AreOnlyThoseThatTheDaemonLeft) {
  EXPECT_EQ(leave("/too large", Gone::no), Outcome::notOurs);
  EXPECT_EQ(judge("/clean"), Outcome::notOurs);
  EXPECT_EQ(judge("/infected", Verdict::Kind::infected), Outcome::notOurs);
  Verdict message;
  message.daemonGone = Gone::before;
  EXPECT_EQ(files.take(message), Outcome::notOurs);
  EXPECT_EQ(leave("no path", Gone::before), Outcome::notOurs);
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(UnscannedFilesTest, StayUnscannedWhenTheyHaveComeBackThreeTimes) {
  for (int time = 0; time < UnscannedFiles::mostTimes; ++time) {
    EXPECT_EQ(leave("/a"), Outcome::comesBack);
    EXPECT_EQ(reported(), Paths{"/a"});
  }
  EXPECT_EQ(leave("/a"), Outcome::tooOften);
  EXPECT_EQ(leave("/a"), Outcome::tooOften);
  EXPECT_EQ(reported(), Paths());
}

TEST_F(UnscannedFilesTest, AreCountedAnewAfterAVerdict) {
  for (const auto kind : {Verdict::Kind::clean, Verdict::Kind::infected}) {
    for (int time = 0; time < UnscannedFiles::mostTimes; ++time) {
      EXPECT_EQ(leave("/a"), Outcome::comesBack);
      EXPECT_EQ(reported(), Paths{"/a"});
    }
    judge("/a", kind);
  }
  EXPECT_EQ(leave("/a"), Outcome::comesBack);
}

TEST_F(UnscannedFilesTest, AreCountedAnewWhenNothingWasHeardOfThemForLong) {
  for (int time = 0; time < UnscannedFiles::mostTimes; ++time) {
    leave("/a");
    reported();
  }
  clock.advance(UnscannedFiles::forgottenAfter - minutes(1));
  EXPECT_EQ(leave("/a"), Outcome::tooOften);
  clock.advance(UnscannedFiles::forgottenAfter);
  EXPECT_EQ(leave("/a"), Outcome::comesBack);
}

TEST_F(UnscannedFilesTest, AreNotReportedWhenTheyWereJudgedMeanwhile) {
  leave("/a");
  leave("/b");
  leave("/c");
  judge("/a");
  files.take(verdictOf(Verdict::Kind::notScanned, "/b"));
  places.duringHold = [this](const std::string&) { judge("/c"); };
  EXPECT_EQ(reported(), Paths());
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(UnscannedFilesTest, AreNotReportedWhereNothingIsGuardedAnyMoreAndTheUserIsTold) {
  leave("/in");
  leave("/out");
  places.outside = {"/out"};
  EXPECT_EQ(reported(), Paths{"/in"});
  EXPECT_EQ(told(), Paths{"/out = not scanned: the reason"});
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(UnscannedFilesTest, WaitForAsLongAsNothingIsWatched) {
  leave("/a");
  places.areKnown = false;
  EXPECT_EQ(reported(), Paths());
  EXPECT_TRUE(files.areWaiting());
  clock.advance(std::chrono::hours(24));
  places.areKnown = true;
  EXPECT_EQ(reported(), Paths{"/a"});
}

TEST_F(UnscannedFilesTest, ThatTheDaemonHadWhenItWentComeBackOneByOneBehindTheOthers) {
  leave("/1", Gone::meanwhile);
  leave("/a");
  leave("/2", Gone::meanwhile);
  leave("/b");
  EXPECT_EQ(reported(), (Paths{"/a", "/b"}));
  EXPECT_EQ(reported(), Paths{"/1"});
  EXPECT_EQ(reported(), Paths());
  EXPECT_TRUE(files.areWaiting());
  leave("/1", Gone::meanwhile);
  EXPECT_EQ(reported(), Paths{"/2"});
  judge("/2");
  EXPECT_EQ(reported(), Paths{"/1"});
  leave("/1", Gone::meanwhile);
  EXPECT_EQ(reported(), Paths{"/1"});
  leave("/3", Gone::meanwhile);
  EXPECT_EQ(leave("/1", Gone::meanwhile), Outcome::tooOften);
  EXPECT_EQ(reported(), Paths{"/3"});
  EXPECT_FALSE(files.areWaiting());
}

TEST_F(UnscannedFilesTest, DoNotWaitForLongForOneThatNeverComesBack) {
  leave("/vanished", Gone::meanwhile);
  leave("/b", Gone::meanwhile);
  EXPECT_EQ(reported(), Paths{"/vanished"});
  EXPECT_EQ(reported(), Paths());
  clock.advance(UnscannedFiles::laterPause);
  EXPECT_EQ(reported(), Paths{"/b"});
}

TEST_F(UnscannedFilesTest, HaveTheDaemonLookedAfterAtOnceForTheFirstTimeAndLaterWithAPause) {
  leave("/a");
  files.runEnded({1, 0, 0, false});
  EXPECT_EQ(looks, std::vector<Clock::Duration>{Clock::Duration()});
  reported();
  leave("/a");
  files.runEnded({1, 0, 0, false});
  EXPECT_EQ(looks.back(), UnscannedFiles::laterPause);
  files.runEnded({0, 0, 0, true});
  EXPECT_EQ(looks.back(), Clock::Duration());
  reported();
  files.runEnded({0, 0, 0, true});
  EXPECT_EQ(looks.size(), 3U);
}

TEST_F(UnscannedFilesTest, AreLoggedAsACountForEachRun) {
  leave("/a");
  files.runEnded({1, 0, 0, false});
  leave("/b");
  leave("/c");
  files.runEnded({2, 3, 4, true});
  files.reportAnew();
  files.reportAnew();
  EXPECT_EQ(
      desktop.systemLog.lines(),
      (Lines{"The daemon left 1 file unscanned, to be scanned again once it is back",
             "The daemon left 2 files unscanned, to be scanned again once it is back",
             "The daemon left 3 files unscanned 4 times, not to be scanned again before a change",
             "The daemon left 4 files unscanned, and too many others wait for it: not to be "
             "scanned before a change",
             "Scanning 3 files again that the daemon had left unscanned"}));
}

TEST_F(UnscannedFilesTest, AreToldWhenTheyAreGivenUp) {
  leave("/a");
  leave("/b", Gone::meanwhile);
  leave("/reported");
  judge("/a");
  EXPECT_EQ(reported(), Paths{"/reported"});
  leave("/c");
  EXPECT_EQ(files.giveUp(), (Paths{"/c", "/b"}));
  EXPECT_EQ(told(), (Paths{"/c = not scanned: the reason", "/b = not scanned: the reason"}));
  EXPECT_FALSE(files.areWaiting());
  EXPECT_EQ(reported(), Paths());
  EXPECT_EQ(files.giveUp(), Paths());
}

TEST_F(UnscannedFilesTest, TakeNoMoreThanABoundAndTheRestIsToldAtOnce) {
  const std::string folder = "/" + std::string(4000, 'x');
  std::size_t taken = 0;
  while (taken < 100000 && leave(folder + std::to_string(taken)) == Outcome::comesBack) {
    ++taken;
  }
  EXPECT_LE(taken, UnscannedFiles::mostBytes / folder.size());
  EXPECT_GE(taken, UnscannedFiles::mostBytes / folder.size() / 2);
  EXPECT_EQ(leave("/" + std::string(4000, 'y')), Outcome::tooMany);
  EXPECT_EQ(leave(folder + "0"), Outcome::comesBack);  // it waits already
  EXPECT_EQ(reported().size(), taken);
  // Those that were reported make room.
  EXPECT_EQ(leave("/" + std::string(4000, 'y')), Outcome::comesBack);
}

TEST_F(UnscannedFilesTest, ThatCameBackAreForgottenAfterAWhileSoThatNothingGrows) {
  for (int round = 0; round < 3; ++round) {
    const std::string folder = "/" + std::string(4000, static_cast<char>('a' + round));
    for (std::size_t file = 0; file < UnscannedFiles::mostBytes / 4400; ++file) {
      ASSERT_EQ(leave(folder + std::to_string(file)), Outcome::comesBack);
    }
    reported();
  }
}

}  // namespace
}  // namespace quillo
