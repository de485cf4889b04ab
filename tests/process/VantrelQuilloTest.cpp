#include <fcntl.h>
#include <sys/wait.h>

#include <functional>

#include "posix/ChildProcess.h"
#include "posix/PathOpening.h"
#include "tests/fakes/agent/WatchingAgent.h"
#include "tools/clamdscan/MoveFolder.h"

namespace quillo {
namespace {

TEST_F(WatchingAgent, StopsForSleepAndStartsAtWake) {
  watch();
  desktop.powerNotifications.willSleep();
  EXPECT_EQ(state(), State::asleep);
  EXPECT_EQ(linesOf({stopForSleep, ended, goodNight, begun}),
            (Lines{stopForSleep, ended, goodNight}));
  desktop.preferenceStore.set("UpdateDefsOnLaunch", true);
  desktop.powerNotifications.didWake();
  ASSERT_TRUE(helper.waitForLaunches(1));
  EXPECT_EQ(state(), State::watching);
  EXPECT_EQ(linesOf({goodMorning, begun}), (Lines{goodMorning, begun}));
  EXPECT_EQ(threads.count("definitions"), 0);
}

TEST_F(WatchingAgent, StartsOnceAfterTwoSleepsInARow) {
  watch();
  desktop.powerNotifications.willSleep();
  desktop.powerNotifications.willSleep();
  desktop.powerNotifications.didWake();
  ASSERT_TRUE(helper.waitForLaunches(1));
  desktop.powerNotifications.didWake();
  EXPECT_EQ(linesOf({stopForSleep, goodNight, goodMorning, begun}),
            (Lines{stopForSleep, goodNight, goodNight, goodMorning, begun, goodMorning}));
}

TEST_F(WatchingAgent, StartsAtWakeWhateverWasStartedOrStoppedSinceItsSleep) {
  watch();
  const std::vector<std::function<void()>> meanwhile = {
      [this] { agent().startWatcher(); }, [this] { agent().stopWatcher(); },
      [this] { desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart"); }};
  for (const auto& happens : meanwhile) {
    desktop.powerNotifications.willSleep();
    happens();
    log().clear();
    desktop.powerNotifications.didWake();
    EXPECT_EQ(linesOf({goodMorning, begun}), (Lines{goodMorning, begun}));
    ASSERT_TRUE(helper.waitForLaunches(1));
    EXPECT_EQ(state(), State::watching);
  }
}

TEST_F(WatchingAgent, StaysStoppedThroughSleepWhenTheUserStoppedIt) {
  watch();
  agent().stopWatcher();
  threads.join();
  log().clear();
  desktop.powerNotifications.willSleep();
  EXPECT_EQ(log().lines(), Lines{goodNight});
  desktop.powerNotifications.didWake();
  EXPECT_EQ(log().lines(), (Lines{goodNight, goodMorning}));
  EXPECT_EQ(state(), State::stopped);
}

TEST_F(WatchingAgent, StopsAndStartsForARestart) {
  watch();
  desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart");
  EXPECT_EQ(linesOf({restarted, ended, begun}), (Lines{restarted, ended, begun}));
  ASSERT_TRUE(helper.waitForLaunches(1));
  EXPECT_TRUE(agent().isWatching());
  EXPECT_EQ(agent().getWatchedFolderList()->size(), 1U);
}

TEST_F(WatchingAgent, StartsForARestartWhileItIsStopped) {
  watch();
  agent().stopWatcher();
  threads.join();
  desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart");
  ASSERT_TRUE(helper.waitForLaunches(1));
  EXPECT_TRUE(agent().isWatching());
}

TEST_F(WatchingAgent, LeavesAWatcherAloneThatWatches) {
  watch();
  agent().startWatcher();
  EXPECT_EQ(threads.count("FSEventWatcher"), 1);
  EXPECT_FALSE(log().has(ended));
  EXPECT_EQ(agent().getWatchedFolderList()->size(), 1U);
}

TEST_F(WatchingAgent, KeepsATrashSettingThroughARestart) {
  desktop.preferenceStore.set("QuilloTrashFiles", true);
  watch();
  desktop.preferenceStore.set("QuilloTrashFiles", false);
  desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart");
  const auto& list = agent().parts().scanParameters.scanAndUpdateParametersWithThrobber();
  EXPECT_EQ(std::get<std::string>(list.at(2)), "--move=" + home.path() + "/.Trash");
}

TEST_F(WatchingAgent, HoldsRequestsThatComeWhileAnotherWaits) {
  watch();
  installRotator();
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    desktop.powerNotifications.willSleep();
    desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart");
    EXPECT_FALSE(log().has(goodNight));
  };
  agent().startWatcher();
  EXPECT_EQ(linesOf({begun, ended, goodNight, restarted}),
            (Lines{begun, ended, goodNight, restarted, begun}));
  ASSERT_TRUE(helper.waitForLaunches(1));
  EXPECT_TRUE(agent().isWatching());
}

TEST_F(WatchingAgent, AnswersScriptsWhileTheEngineLoads) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
  std::optional<std::string> answer;
  desktop.application.duringWait = [&] {
    desktop.application.duringWait = nullptr;
    EXPECT_EQ(state(), State::starting);
    if (desktop.scriptingKeys.answer) {
      answer = desktop.scriptingKeys.answer("restartWatchingViaAS");
    }
  };
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(answer, "Restart Requested");
}

TEST_F(WatchingAgent, HandsThePathsOfItsHelperToTheDispatcher) {
  const std::string file = home.write("new", "content");
  helper.folder().writeProgram(
      "gfslogger",
      "#!/bin/sh\necho > \"${0%/*}/launches\"\nread line < \"${0%/*}/go\"\n"
      "echo /elsewhere\necho '" +
          file + "'\nread line < \"${0%/*}/go\"\n");
  desktop.preferenceStore.set("QuilloLogProgress", true);
  watch();
  helper.letGo();
  ASSERT_TRUE(log().waitFor("Noticed: " + file));
  EXPECT_FALSE(log().has("Noticed: /elsewhere"));
}

TEST_F(WatchingAgent, IsInstalledAndWatchesAfterTheUserAllowedIt) {
  helper.folder().writeProgram("gfslogger",
                               "#!/bin/sh\nif [ -e \"${0%/*}/installed\" ]; then\n"
                               "echo > \"${0%/*}/launches\"\nread line < \"${0%/*}/go\"\nfi\n"
                               ": > \"${0%/*}/installed\"\nexit 1\n");
  desktop.authorization.granted = true;
  desktop.application.keepsPosted = true;
  agent().applicationDidFinishLaunching();
  // First the stop, then the start; both belong to the main thread.
  ASSERT_TRUE(log().waitFor("termination status = 1"));
  ASSERT_TRUE(desktop.application.waitUntilPosted());
  desktop.application.performPosted();
  while (log().count(begun) < 2) {
    ASSERT_TRUE(desktop.application.waitUntilPosted());
    desktop.application.performPosted();
  }
  ASSERT_TRUE(helper.waitForLaunches(1));
  EXPECT_TRUE(agent().isWatching());
  EXPECT_EQ(desktop.growl.posted().front().description, "<FSEVENT_NOT_SETUID>");
  EXPECT_EQ(agent().getWatchedFolderList()->size(), 1U);
}

TEST_F(WatchingAgent, AsksTheApplicationToEndWhenTheUserRefuses) {
  helper.folder().writeProgram("gfslogger", "#!/bin/sh\nexit 1\n");
  desktop.application.keepsPosted = true;
  agent().applicationDidFinishLaunching();
  ASSERT_TRUE(log().waitFor("Authentication failed. Sorry!"));
  threads.join();
  desktop.application.performPosted();
  EXPECT_EQ(desktop.application.terminations, 1);
  EXPECT_FALSE(agent().isWatching());
}

TEST_F(WatchingAgent, AbortsWhatWaitsAndWhateverScans) {
  watch();
  const std::string scanner = home.writeProgram(
      "clamdscan", "#!/bin/sh\necho > '" + helper.resourceFolder() + "/launches'\nread line < '" +
                       helper.resourceFolder() + "/go'\n");
  ChildProcess scan({scanner});
  ASSERT_TRUE(helper.waitForLaunches(1));
  std::vector<std::string> measured{home.write("new", "content")};
  agent().theDispatcher().copyItemsToMyItemListFrom(measured);
  agent().abortScans();
  EXPECT_EQ(scan.waitUntilExit(), SIGKILL);
  EXPECT_EQ(agent().theDispatcher().lengthOfBothItemLists(), 0U);
  EXPECT_TRUE(log().has("Scans aborted: 1 file was not scanned"));
  EXPECT_TRUE(agent().isWatching());
}

TEST_F(WatchingAgent, LeadsFromFilesThatAreCleanByNowToTheQuarantineElseToItsFolder) {
  home.writeProgram("engine/bin/clamdscan",
                    "#!/bin/sh\nwhile read -r path; do echo \"$path: OK\"; done </dev/fd/3\n");
  const std::string folder = home.makeFolder("quarantine");
  desktop.preferenceStore.set("QuarantineFolder", folder);
  wrapper::MoveFolder mover(clock, wrapper::DesktopTrash("", ""));
  ASSERT_EQ(mover.open(folder), "");
  const std::string file = home.write("file");
  ASSERT_TRUE(mover.move(file, openPath(file, O_RDONLY).get(), "Eicar").moved);
  watch();
  ASSERT_TRUE(
      agent().parts().quarantineRecheck.check(QuarantineRecord::Time(std::chrono::hours(5))));
  const auto buttons = desktop.growl.posted().back().details.buttons;
  ASSERT_EQ(buttons.size(), 1U);
  desktop.applicationLauncher.installed = true;
  buttons[0].press();
  EXPECT_EQ(desktop.applicationLauncher.pages, Lines{"org.vantrel.Vantrel quarantine"});
  desktop.applicationLauncher.installed = false;
  buttons[0].press();
  EXPECT_EQ(desktop.applicationLauncher.pages.size(), 1U);
  EXPECT_EQ(desktop.workspace.opened.size() + (fileExists("/usr/bin/open") ? 1U : 0U), 1U);
}

TEST_F(WatchingAgent, OpensAFolderWithTheDesktopWhereThereIsNoOpener) {
  agent().parts().folderOpener.openAndWait(home.path());
  EXPECT_EQ(desktop.workspace.opened.size() + (fileExists("/usr/bin/open") ? 1U : 0U), 1U);
  agent().parts().folderOpener.open(home.path());
  EXPECT_EQ(desktop.workspace.opened.size() + (fileExists("/usr/bin/open") ? 2U : 0U), 2U);
}

}  // namespace
}  // namespace quillo
