#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <memory>
#include <thread>

#include "posix/ChildProcess.h"
#include "tests/fakes/AgentUnderTest.h"
#include "tests/fakes/FakeClamd.h"
#include "tests/fakes/HelperProgram.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

// An agent whose watcher really runs a helper.
class WatchingAgent : public testing::Test, protected AgentUnderTest {
 protected:
  explicit WatchingAgent(const std::string& script = HelperProgram::idle) : helper(script) {
    desktop.folders.resources = helper.resourceFolder();
    desktop.preferenceStore.set("QuilloFolderArray",
                                PreferenceValue{PreferenceArray{watchedFolder("~", true)}});
    threads.real = {"FSEventWatcher"};
  }
  void TearDown() override {
    agent().stopWatcher();
    threads.join();
    output.restore();
    if (HasFailure()) {
      std::printf("%s\n", scanLog().c_str());
    }
  }
  void watch() {
    agent().applicationDidFinishLaunching();
    ASSERT_TRUE(helper.waitForLaunches(1));
    ASSERT_TRUE(agent().isWatching());
    log().clear();
  }
  // Puts a rotator there, so that every start of watching waits for a program.
  void installRotator() { helper.folder().writeProgram("engine-tools/newsyslog", "#!/bin/sh\n"); }
  Lines linesOf(const Lines& wanted) {
    Lines found;
    for (const std::string& line : log().lines()) {
      if (std::find(wanted.begin(), wanted.end(), line) != wanted.end()) {
        found.push_back(line);
      }
    }
    return found;
  }

  static constexpr const char* goodNight = "Nighty night!";
  static constexpr const char* goodMorning = "Wakey wakey!";
  static constexpr const char* stopForSleep =
      "We're currently watching for changes, so stop and then register to know when we wake up "
      "again";
  static constexpr const char* ended = "attempting to terminate gfslogger";
  static constexpr const char* begun = "scan email files";
  static constexpr const char* restarted = "restartWatcher";

  HelperProgram helper;
};

TEST_F(WatchingAgent, StopsForSleepAndStartsAtWake) {
  watch();
  desktop.powerNotifications.willSleep();
  EXPECT_FALSE(agent().isWatching());
  EXPECT_EQ(linesOf({stopForSleep, ended, goodNight, begun}),
            (Lines{stopForSleep, ended, goodNight}));
  desktop.preferenceStore.set("UpdateDefsOnLaunch", true);
  desktop.powerNotifications.didWake();
  ASSERT_TRUE(helper.waitForLaunches(1));
  EXPECT_TRUE(agent().isWatching());
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

TEST_F(WatchingAgent, StaysStoppedThroughSleepWhenTheUserStoppedIt) {
  watch();
  agent().stopWatcher();
  threads.join();
  log().clear();
  desktop.powerNotifications.willSleep();
  EXPECT_EQ(log().lines(), Lines{goodNight});
  desktop.powerNotifications.didWake();
  EXPECT_EQ(log().lines(), (Lines{goodNight, goodMorning}));
  EXPECT_FALSE(agent().isWatching());
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

TEST_F(WatchingAgent, GivesUpADaemonThatNeverStartsWhenItIsToQuit) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexec sleep 1000\n");
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    agent().quit();
    EXPECT_TRUE(desktop.application.exits.empty());
    threads.run("quit");
  };
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  EXPECT_GE(clock.slept(), std::chrono::seconds(60));
}

TEST_F(WatchingAgent, QuitsAfterALaunchAlsoWhenThereIsNoThreadForItsPatience) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
  threads.refused = {"quit"};
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    agent().quit();
  };
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
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
  const auto& list = agent().scanParameters().scanAndUpdateParametersWithThrobber();
  EXPECT_EQ(std::get<std::string>(list.at(2)), "--move=" + home.path() + "/.Trash");
}

TEST_F(WatchingAgent, StopsBeforeItQuits) {
  watch();
  FakeClamd clamd(socketPath());
  agent().preferences().weLaunchedClamd = true;
  agent().quit();
  EXPECT_FALSE(agent().isWatching());
  EXPECT_EQ(linesOf({ended, "trying to quit clamd"}), (Lines{ended, "trying to quit clamd"}));
  EXPECT_EQ(clamd.visits(1).size(), 1U);
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
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

TEST_F(WatchingAgent, QuitsAtOnceAlsoWhileARequestWaits) {
  watch();
  installRotator();
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    agent().quit();
    EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  };
  agent().startWatcher();
}

TEST_F(WatchingAgent, QuitsADaemonThatIsOnlyBeingLaunchedOnceItCanBeTold) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
  FakeClamd clamd(socketPath());
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    agent().quit();
    EXPECT_TRUE(desktop.application.exits.empty());
  };
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  // Before, it was looked at who listens there.
  ASSERT_EQ(clamd.visits(2).size(), 2U);
  EXPECT_EQ(clamd.visits(2)[1].bytes.substr(0, 4), "QUIT");
}

// An agent whose own daemon has crashed and is being launched again by a scanner.
class RecoveringAgent : public WatchingAgent {
 protected:
  void crash() {
    daemon.reset();
    home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
    agent().applicationDidFinishLaunching();
    ASSERT_TRUE(helper.waitForLaunches(1));
    home.writeProgram("engine/sbin/clamd", "#!/bin/sh\necho > '" + helper.resourceFolder() +
                                               "/launches'\nread line < '" +
                                               helper.resourceFolder() + "/go'\n");
    recovery = std::thread([this] { ScannerLink(agent()).recoverFromCrashedClamd(); });
    ASSERT_TRUE(helper.waitForLaunches(1));
    log().clear();
  }
  void TearDown() override {
    if (recovery.joinable()) {
      agent().engine().abandonLaunch();
      recovery.join();
    }
    WatchingAgent::TearDown();
  }
  bool waits() const { return desktop.application.exits.empty(); }

  std::thread recovery;
};

TEST_F(RecoveringAgent, QuitsTheDaemonOnceItCanBeTold) {
  crash();
  std::unique_ptr<FakeClamd> clamd;
  desktop.application.duringWait = [&] {
    desktop.application.duringWait = nullptr;
    EXPECT_TRUE(waits());
    agent().quit();
    EXPECT_TRUE(waits());
    clamd = std::make_unique<FakeClamd>(socketPath());
    // One line is the watcher's helper's, should it still be there to read it.
    helper.letGo();
    helper.letGo();
  };
  agent().quit();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  EXPECT_FALSE(agent().isWatching());
  ASSERT_TRUE(clamd);
  ASSERT_EQ(clamd->visits(1).size(), 1U);
  EXPECT_EQ(clamd->visits(1)[0].bytes.substr(0, 4), "QUIT");
}

TEST_F(RecoveringAgent, GivesUpADaemonThatNeverStartsWhenItIsToQuit) {
  crash();
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    EXPECT_TRUE(waits());
    threads.run("quit");
  };
  agent().quit();
  EXPECT_EQ(linesOf({"giving up on clamd, which has not started", "trying to quit clamd"}),
            (Lines{"giving up on clamd, which has not started", "trying to quit clamd"}));
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
}

TEST_F(RecoveringAgent, LeavesADaemonThatWasThereBeforeToItself) {
  crash();
  agent().preferences().weLaunchedClamd = false;
  agent().quit();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  EXPECT_FALSE(log().has("trying to quit clamd"));
}

TEST_F(RecoveringAgent, LaunchesNoDaemonOnceItIsToQuit) {
  crash();
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    threads.run("quit");
  };
  agent().quit();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\n: > '" + home.path() + "/late'\n");
  agent().engine().setDaemonPaths(engine() + "/sbin/clamd", std::nullopt);
  ScannerLink(agent()).recoverFromCrashedClamd();
  EXPECT_FALSE(fileExists(home.path() + "/late"));
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
  EXPECT_TRUE(agent().isWatching());
}

// A scanner of the agent's own that has a child, and none of the name "clamdscan" among them.
class ScanningAgent : public WatchingAgent {
 protected:
  ScanningAgent() : WatchingAgent(HelperProgram::idle), scan(slowScanner()) {
    EXPECT_TRUE(helper.waitForLaunches(1));
  }
  LaunchRequest slowScanner() const {
    const std::string resources = helper.resourceFolder();
    LaunchRequest request{"/bin/sh",
                          {"-c", "(echo > '" + resources + "/launches'; sleep 1000); exit 3"}};
    request.withItsChildren = true;
    return request;
  }
  // The pipe of its output ends when the last of its processes has.
  int statusAtTheEnd() {
    const int status = scan.waitUntilExit([](std::string_view) { return true; });
    return status;
  }

  ChildProcess scan;
};

TEST_F(ScanningAgent, EndsItsOwnScannersWhateverTheirNameWhenScansAreAborted) {
  watch();
  const RunningScanners::Entry running(agent().runningScanners(), scan);
  agent().abortScans();
  EXPECT_EQ(statusAtTheEnd(), SIGKILL);
  EXPECT_TRUE(agent().isWatching());
}

TEST_F(ScanningAgent, EndsItsScannersWhenItQuits) {
  watch();
  const RunningScanners::Entry running(agent().runningScanners(), scan);
  desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldQuit");
  EXPECT_EQ(statusAtTheEnd(), SIGKILL);
}

TEST_F(ScanningAgent, EndsAlsoAScannerThatBeginsWhileItQuits) {
  watch();
  agent().quit();
  const RunningScanners::Entry running(agent().runningScanners(), scan);
  EXPECT_EQ(statusAtTheEnd(), SIGKILL);
}

TEST_F(WatchingAgent, OpensAFolderWithTheDesktopWhereThereIsNoOpener) {
  agent().openAndWait(home.path());
  EXPECT_EQ(desktop.workspace.opened.size() + (fileExists("/usr/bin/open") ? 1U : 0U), 1U);
  agent().open(home.path());
  EXPECT_EQ(desktop.workspace.opened.size() + (fileExists("/usr/bin/open") ? 2U : 0U), 2U);
}

}  // namespace
}  // namespace quillo
