#include <gtest/gtest.h>

#include <utility>

#include "posix/FileFacts.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/fakes/watching/HelperProgram.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"
#include "watchers/FSEventWatcher.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class WatcherAndHelper : public testing::Test {
 protected:
  ~WatcherAndHelper() override { stop(); }

  void start(const std::string& script) {
    helper = std::make_unique<HelperProgram>(script);
    desktop.folders.resources = helper->resourceFolder();
    run();
  }
  void run() {
    ASSERT_TRUE(watcher.claimMainLoop());
    loop.start([this] { watcher.mainLoop(); });
  }
  void stop() {
    if (loop.areLeft()) {
      watcher.stopWatching();
      loop.join();
    }
  }
  // For scripts that end the loop themselves.
  void waitForEnd() { loop.join(); }
  std::string tool() const { return helper->resourceFolder() + "/gfslogger"; }

  FakePlatform desktop;
  ManualClock clock;
  FakeWatcherOwner owner;
  const WatcherServices services = watcherServicesOf(desktop, clock, owner);
  FSEventWatcher watcher{owner, services};
  std::unique_ptr<HelperProgram> helper;
  JoinedThreads loop;
};

TEST_F(WatcherAndHelper, HandOverEveryLineThatItPrints) {
  owner.watch("/w/", true);
  start("echo /w/one; echo /elsewhere/x; echo /w/two; read line < \"$go\"");
  ASSERT_TRUE(owner.paths.waitForCount(2));
  EXPECT_EQ(owner.paths(), (Lines{"/w/one", "/w/two"}));
  EXPECT_TRUE(watcher.isWatching());
}

TEST_F(WatcherAndHelper, TakeStandardErrorForOutputAsWell) {
  owner.watch("/w/", true);
  start("echo /w/one >&2; read line < \"$go\"");
  ASSERT_TRUE(owner.paths.waitForCount(1));
  EXPECT_EQ(owner.paths(), Lines{"/w/one"});
}

TEST_F(WatcherAndHelper, TakeALineCutInTheMiddleForTwo) {
  owner.watch("/w/", true);
  start("printf /w/ha; read line < \"$go\"; printf 'lf\\n/w/whole\\n'; read line < \"$go\"");
  ASSERT_TRUE(owner.paths.waitForCount(1));
  helper->letGo();
  ASSERT_TRUE(owner.paths.waitForCount(2));
  EXPECT_EQ(owner.paths(), (Lines{"/w/ha", "/w/whole"}));
}

TEST_F(WatcherAndHelper, LoseNoLineOfAFlood) {
  owner.watch("/w/", true);
  start("i=10000; while [ $i -lt 30000 ]; do echo /w/$i; i=$((i+1)); done; read line < \"$go\"");
  ASSERT_TRUE(owner.paths.waitForCount(20000));
  const Lines paths = owner.paths();
  ASSERT_EQ(paths.size(), 20000U);
  EXPECT_EQ(paths.front(), "/w/10000");
  EXPECT_EQ(paths.back(), "/w/29999");
}

TEST_F(WatcherAndHelper, HandOverWhatWasPrintedJustBeforeTheEnd) {
  owner.watch("/w/", true);
  start("echo /w/last; exit 5");
  ASSERT_TRUE(desktop.systemLog.waitFor("termination status = 5", 2));
  stop();
  EXPECT_GE(owner.paths().size(), 2U);
}

TEST_F(WatcherAndHelper, UseNoArgumentsAndNoEnvironment) {
  start(
      "echo \"$# ${HOME-unset}\" > \"${0%/*}/seen\"; echo > \"${0%/*}/launches\"; read line < "
      "\"$go\"");
  ASSERT_TRUE(helper->waitForLaunches(2));
  EXPECT_EQ(contentsOfFile(helper->resourceFolder() + "/seen"),
            std::optional<std::string>("0 unset\n"));
}

TEST_F(WatcherAndHelper, RestartTheHelperAtOnceWhateverEndedIt) {
  // The fourth stays: one that went on ending would soon be reported.
  start(
      "echo >> \"${0%/*}/runs\"; case $(wc -l < \"${0%/*}/runs\") in 1) exit 0;; "
      "2|3) kill -KILL $$;; esac; read line < \"$go\"");
  ASSERT_TRUE(helper->waitForLaunches(4));
  ASSERT_TRUE(desktop.systemLog.waitFor("termination status = 9", 2));
  EXPECT_EQ(desktop.systemLog.count("termination status = 0"), 1);
  EXPECT_TRUE(watcher.isWatching());
  EXPECT_TRUE(owner.calls().empty());
}

TEST_F(WatcherAndHelper, WatchOnAtOnceHoweverOftenEventsAreLost) {
  start(
      "echo; echo >> \"${0%/*}/runs\"; [ $(wc -l < \"${0%/*}/runs\") -lt 15 ] && exit 4; "
      "read line < \"$go\"");
  ASSERT_TRUE(helper->waitForLaunches(15));
  EXPECT_TRUE(desktop.systemLog.waitFor(
      "More files changed at once than the kernel keeps in mind: some were missed", 14));
  EXPECT_FALSE(owner.helperFails);
  EXPECT_TRUE(owner.calls().empty());
}

TEST_F(WatcherAndHelper, PauseWhereOneNeverWatchesWhateverItsStatus) {
  start("echo 'gfslogger: broken' >&2; exit 4");
  ASSERT_TRUE(helper->waitForLaunches(11));
  EXPECT_TRUE(clock.waitUntilParked(1));
  EXPECT_TRUE(owner.helperFails);
}

TEST_F(WatcherAndHelper, PauseAfterTenRestartsAndSayOnceWhatIsWrong) {
  desktop.localizedStrings.texts["HELPER_FAILS"] = "Nothing is watched: %@";
  start("echo 'gfslogger: the kernel has no fanotify' >&2; exit 3");
  ASSERT_TRUE(helper->waitForLaunches(11));
  for (const int pause : {1, 2, 4, 8, 16, 30, 30}) {
    ASSERT_TRUE(clock.waitUntilParked(1));
    EXPECT_TRUE(owner.helperFails);
    clock.advance(std::chrono::seconds(pause) - std::chrono::milliseconds(1));
    ASSERT_EQ(clock.parked(), 1) << pause;
    clock.advance(std::chrono::milliseconds(1));
    ASSERT_TRUE(helper->waitForLaunches(1)) << pause;
  }
  EXPECT_EQ(owner.calls(),
            Lines{"helper error: Nothing is watched: gfslogger: the kernel has no fanotify"});
  EXPECT_TRUE(owner.paths().empty());
}

TEST_F(WatcherAndHelper, LeadByAButtonToWhatMends) {
  start("exit 3");
  ASSERT_TRUE(clock.waitUntilParked(1));
  const auto buttons = owner.buttons();
  ASSERT_EQ(buttons.size(), 1U);
  EXPECT_EQ(buttons[0].title, "<NOTIFICATION_VANTREL>");
  buttons[0].press();
  EXPECT_EQ(owner.calls().back(), "show what mends");
}

TEST_F(WatcherAndHelper, TakeWhatTheySaidOfItBackOnceItReportsAChange) {
  owner.watch("/w/", true);
  start("if [ -e \"${0%/*}/mended\" ]; then echo /w/one; read line < \"$go\"; fi; exit 3");
  ASSERT_TRUE(clock.waitUntilParked(1));
  ASSERT_EQ(owner.calls().size(), 1U);
  helper->folder().write("mended", "");
  clock.advance(std::chrono::seconds(1));
  ASSERT_TRUE(owner.paths.waitForCount(1));
  EXPECT_EQ(owner.calls().back(), "withdraw helper");
}

TEST_F(WatcherAndHelper, EndAPauseAtOnceWhenStopped) {
  start("exit 3");
  ASSERT_TRUE(clock.waitUntilParked(1));
  stop();
  EXPECT_FALSE(watcher.isWatching());
  EXPECT_FALSE(owner.helperFails);
  EXPECT_EQ(desktop.systemLog.count("termination status = 3"), 11);
}

TEST_F(WatcherAndHelper, BeginWithoutAPauseWhenStartedAnew) {
  start("exit 3");
  ASSERT_TRUE(clock.waitUntilParked(1));
  stop();
  run();
  ASSERT_TRUE(helper->waitForLaunches(22));
  ASSERT_TRUE(clock.waitUntilParked(1));
  EXPECT_EQ(owner.calls().size(), 2U);
}

TEST_F(WatcherAndHelper, SayThatAHelperIsMissing) {
  desktop.localizedStrings.texts["HELPER_FAILS"] = "%@";
  helper = std::make_unique<HelperProgram>("");
  desktop.folders.resources = helper->folder().makeFolder("empty");
  run();
  ASSERT_TRUE(clock.waitUntilParked(1));
  EXPECT_EQ(owner.calls(), Lines{"helper error: " + desktop.folders.resources +
                                 "/gfslogger: launch path not accessible"});
}

TEST_F(WatcherAndHelper, DoNotTakeAHangUpForMissingRights) {
  // The third stays: one that went on ending would soon be reported.
  start(
      "echo >> \"${0%/*}/runs\"; [ $(wc -l < \"${0%/*}/runs\") -lt 3 ] && kill -HUP $$; "
      "read line < \"$go\"");
  ASSERT_TRUE(desktop.systemLog.waitFor("termination status = 129", 2));
  EXPECT_TRUE(owner.calls().empty());
}

TEST_F(WatcherAndHelper, EndTogetherWhenStopped) {
  start("echo $$ > \"${0%/*}/pid\"; echo > \"${0%/*}/launches\"; read line < \"$go\"");
  ASSERT_TRUE(helper->waitForLaunches(2));
  const auto pid = contentsOfFile(helper->resourceFolder() + "/pid").value_or("0\n");
  stop();
  EXPECT_FALSE(fileExists("/proc/" + pid.substr(0, pid.size() - 1)));
  EXPECT_FALSE(watcher.isWatching());
  EXPECT_EQ(desktop.systemLog.lines(),
            (Lines{"attempting to terminate gfslogger", "termination status = 15"}));
}

TEST_F(WatcherAndHelper, GoOnAfterAFailureOfTheAgentsOwn) {
  owner.watch("/w/", true);
  bool hasFailed = false;
  owner.onPath = [&] {
    if (!std::exchange(hasFailed, true)) {
      throw std::runtime_error("no memory");
    }
  };
  start("echo /w/x; read line < \"$go\"");
  ASSERT_TRUE(helper->waitForLaunches(2));
  EXPECT_TRUE(owner.paths.waitForCount(1));
  EXPECT_EQ(desktop.systemLog.count("Watcher: the helper's report failed: no memory"), 1);
  EXPECT_TRUE(watcher.isWatching());
}

TEST_F(WatcherAndHelper, MayBeStartedAgainAfterTheEnd) {
  owner.watch("/w/", true);
  start("echo /w/x; read line < \"$go\"");
  ASSERT_TRUE(owner.paths.waitForCount(1));
  stop();
  run();
  ASSERT_TRUE(owner.paths.waitForCount(2));
  EXPECT_TRUE(watcher.isWatching());
}

TEST_F(WatcherAndHelper, GoOnWithoutReadingOnceTheOutputIsClosed) {
  start("exec >&- 2>&-; echo > \"${0%/*}/launches\"; read line < \"$go\"; exit 3");
  ASSERT_TRUE(helper->waitForLaunches(2));
  EXPECT_TRUE(desktop.systemLog.lines().empty());
  helper->letGo();
  EXPECT_TRUE(desktop.systemLog.waitFor("termination status = 3"));
}

TEST_F(WatcherAndHelper, LogAHelperThatCannotBeRunAndTryAgain) {
  helper = std::make_unique<HelperProgram>("");
  desktop.folders.resources = helper->folder().makeFolder("empty");
  run();
  ASSERT_TRUE(desktop.systemLog.waitFor("launch path not accessible", 3));
  stop();
  const Lines lines = desktop.systemLog.lines();
  EXPECT_EQ(lines[0], "InvalidArgumentException");
  EXPECT_EQ(lines[1], "launch path not accessible");
  EXPECT_EQ(lines[2], "InvalidArgumentException");
}

TEST_F(WatcherAndHelper, AreInstalledAndStartedAgainWhenTheRightsAreMissing) {
  desktop.authorization.granted = true;
  desktop.localizedStrings.texts["FSEVENT_NOT_SETUID"] = "Not installed yet";
  owner.onStop = [this] { watcher.stopWatching(); };
  Lines beforeTheRequest;
  desktop.authorization.duringRequest = [&] { beforeTheRequest = owner.calls(); };
  start("exit 1");
  waitForEnd();
  EXPECT_EQ(beforeTheRequest, (Lines{"stopWatcher", "helper error: Not installed yet"}));
  EXPECT_EQ(owner.calls(),
            (Lines{"stopWatcher", "helper error: Not installed yet", "startWatcher"}));
  const Lines command{"/bin/sh", "-c",
                      "chown root \"" + tool() + "\"; chmod +s \"" + tool() + "\""};
  EXPECT_EQ(desktop.authorization.requests, std::vector<Lines>{command});
  EXPECT_EQ(desktop.systemLog.lines(),
            (Lines{"termination status = 1", "attempting to terminate gfslogger"}));
  EXPECT_EQ(desktop.application.terminations, 0);
  EXPECT_FALSE(watcher.isWatching());
  EXPECT_TRUE(helper->waitForLaunches(1));
}

TEST_F(WatcherAndHelper, GoOnWithTheSameLoopWhenInstalledBeforeItHasEnded) {
  desktop.authorization.granted = true;
  owner.onStop = [this] { watcher.stopWatching(); };
  owner.onStart = [this] { EXPECT_FALSE(watcher.claimMainLoop()); };
  start(
      "if [ -e \"${0%/*}/installed\" ]; then read line < \"$go\"; fi; "
      ": > \"${0%/*}/installed\"; exit 1");
  ASSERT_TRUE(helper->waitForLaunches(2));
  EXPECT_TRUE(watcher.isWatching());
}

TEST_F(WatcherAndHelper, EndTheApplicationWhenTheRightsAreRefused) {
  desktop.authorization.reasonOfRefusal = "the dialog was dismissed";
  owner.onStop = [this] { watcher.stopWatching(); };
  Lines beforeTheRequest;
  desktop.authorization.duringRequest = [&] { beforeTheRequest = owner.calls(); };
  Lines callsBeforeTheEnd;
  Lines loggedBeforeTheEnd;
  desktop.application.onTerminate = [&] {
    callsBeforeTheEnd = owner.calls();
    loggedBeforeTheEnd = desktop.systemLog.lines();
  };
  start("exit 1");
  waitForEnd();
  EXPECT_EQ(beforeTheRequest, (Lines{"stopWatcher", "helper error: <FSEVENT_NOT_SETUID>"}));
  EXPECT_EQ(callsBeforeTheEnd, owner.calls());
  EXPECT_EQ(loggedBeforeTheEnd, desktop.systemLog.lines());
  EXPECT_EQ(owner.calls(), (Lines{"stopWatcher", "helper error: <FSEVENT_NOT_SETUID>",
                                  "helper error: the dialog was dismissed"}));
  EXPECT_EQ(desktop.systemLog.lines(),
            (Lines{"termination status = 1", "attempting to terminate gfslogger",
                   "the dialog was dismissed", "Authentication failed. Sorry!"}));
  EXPECT_EQ(desktop.application.terminations, 1);
}

TEST_F(WatcherAndHelper, ReadTheQuarantineFolderOnlyWhenTheLoopStarts) {
  owner.watch("/w/", true);
  desktop.preferenceStore.set("QuarantineFolder", "/w/Q");
  start("echo /w/Q/x; echo /w/one; read line < \"$go\"; exit 0");
  ASSERT_TRUE(owner.paths.waitForCount(1));
  desktop.preferenceStore.remove("QuarantineFolder");
  helper->letGo();
  ASSERT_TRUE(owner.paths.waitForCount(2));
  EXPECT_EQ(owner.paths(), (Lines{"/w/one", "/w/one"}));
  stop();
  run();
  ASSERT_TRUE(owner.paths.waitForCount(4));
  EXPECT_EQ(owner.paths()[2], "/w/Q/x");
}

}  // namespace
}  // namespace quillo
