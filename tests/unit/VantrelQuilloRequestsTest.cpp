#include <gtest/gtest.h>

#include <cstdio>

#include "tests/fakes/agent/AgentUnderTest.h"
#include "tests/fakes/engine/FakeClamd.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Posted = std::vector<std::pair<std::string, std::string>>;

// No loop runs in these tests: the watcher counts as stopped.
class AgentRequests : public testing::Test, protected AgentUnderTest {
 protected:
  AgentRequests() {
    desktop.preferenceStore.set("QuilloFolderArray",
                                PreferenceValue{PreferenceArray{watchedFolder("~", true)}});
    agent().applicationDidFinishLaunching();
    log().clear();
  }
  void TearDown() override {
    output.restore();
    if (HasFailure()) {
      std::printf("%s\n", scanLog().c_str());
    }
  }
  DistributedNotificationCenter& center() { return desktop.distributedNotificationCenter; }
  const Posted& posted() const { return desktop.distributedNotificationCenter.posted; }
  void expectQuit() {
    EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
    ASSERT_FALSE(posted().empty());
    EXPECT_EQ(posted().back(), (Posted::value_type{"VantrelQuilloHasQuit", "VantrelQuillo"}));
    EXPECT_TRUE(desktop.distributedNotificationCenter.observers.empty());
  }
};

TEST_F(AgentRequests, SleepWhileStoppedOnlySaysGoodNight) {
  desktop.powerNotifications.willSleep();
  EXPECT_EQ(log().lines(), Lines{"Nighty night!"});
  log().clear();
  desktop.powerNotifications.didWake();
  EXPECT_EQ(log().lines(), Lines{"Wakey wakey!"});
  EXPECT_EQ(threads.count("FSEventWatcher"), 1);
}

TEST_F(AgentRequests, RestartWhileStoppedStarts) {
  agent().stopWatcher();
  log().clear();
  desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart");
  const Lines lines = log().lines();
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines[0], "restartWatcher");
  EXPECT_EQ(lines[1], "scan email files");
  EXPECT_FALSE(log().has("attempting to terminate gfslogger"));
  EXPECT_EQ(*agent().getWatchedFolderList(), Lines{home.path() + "/"});
}

TEST_F(AgentRequests, StartWhileALoopIsThereRebuildsTheListsOnly) {
  desktop.preferenceStore.set("QuilloFolderArray",
                              PreferenceValue{PreferenceArray{watchedFolder("/", false)}});
  agent().startWatcher();
  EXPECT_EQ(threads.count("FSEventWatcher"), 1);
  EXPECT_EQ(*agent().getWatchedFolderList(), Lines{"/"});
  EXPECT_EQ(desktop.mainInterface.theSubMenu.titles(), Lines{"/"});
}

TEST_F(AgentRequests, StopEmptiesWhatBelongsToWatching) {
  agent().stopWatcher();
  EXPECT_TRUE(log().has("attempting to terminate gfslogger"));
  EXPECT_FALSE(desktop.mountNotifications.observer);
  EXPECT_TRUE(agent().getWatchedFolderList()->empty());
  EXPECT_EQ(agent().getCheckSubDirs()->size(), 1U);
  EXPECT_EQ(desktop.mainInterface.theSubMenu.titles(), Lines());
  EXPECT_TRUE(agent().parts().scanParameters.scanAndUpdateParametersWithThrobber().empty());
  EXPECT_EQ(agent().freshclamLogLocation(), std::nullopt);
  EXPECT_EQ(agent().getTheTempDirToWatch(), std::nullopt);
  EXPECT_EQ(agent().getTheThrobberTempDir(), std::nullopt);
  EXPECT_EQ(agent().parts().clamdLink.clamdPATH(), std::nullopt);
  EXPECT_EQ(agent().parts().clamdLink.clamdSocket(), std::optional<std::string>(socketPath()));
  EXPECT_TRUE(desktop.application.exits.empty());
}

TEST_F(AgentRequests, StopLeavesWhatIsQueuedAlone) {
  agent().theDispatcher().addStringToItemList("/a");
  agent().stopWatcher();
  EXPECT_EQ(agent().theDispatcher().lengthOfBothItemLists(), 1U);
}

TEST_F(AgentRequests, QuitLeavesADaemonRunningThatRanBefore) {
  FakeClamd clamd(socketPath());
  desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldQuit");
  expectQuit();
  EXPECT_EQ(posted().size(), 1U);
  EXPECT_TRUE(log().lines().empty());
  // The next command is the first that came.
  EXPECT_TRUE(agent().parts().clamdLink.clamdStillAlive());
  EXPECT_EQ(clamd.visits(1).front().bytes.substr(0, 4), "PING");
}

TEST_F(AgentRequests, QuitEndsADaemonThatTheAgentLaunched) {
  FakeClamd clamd(socketPath());
  agent().parts().daemonStart.weLaunchedClamd = true;
  agent().quit();
  EXPECT_EQ(log().lines(), Lines{"trying to quit clamd"});
  ASSERT_EQ(clamd.visits(1).size(), 1U);
  EXPECT_EQ(clamd.visits(1)[0].bytes, std::string("QUIT\0\0", 6));
  expectQuit();
}

TEST_F(AgentRequests, QuitDoesNotMindADaemonThatIsGone) {
  agent().parts().daemonStart.weLaunchedClamd = true;
  agent().quit();
  expectQuit();
}

TEST_F(AgentRequests, HandsTheLastNotificationsOverBeforeItSaysThatItHasQuit) {
  int handedOver = 0;
  desktop.growl.atHandOver = [&] {
    ++handedOver;
    EXPECT_TRUE(posted().empty());
    EXPECT_TRUE(desktop.application.exits.empty());
  };
  agent().quit();
  EXPECT_EQ(handedOver, 1);
  expectQuit();
}

TEST_F(AgentRequests, TerminationQuits) {
  agent().applicationWillTerminate();
  expectQuit();
}

TEST_F(AgentRequests, TheEngineDialogsButtonsOpenTheMainApplicationAndQuit) {
  desktop.mainInterface.noEngineWindow.press(ButtonDialog::Button::otherButton);
  EXPECT_EQ(desktop.applicationLauncher.launched, Lines{"org.vantrel.Vantrel"});
  expectQuit();
}

TEST_F(AgentRequests, TheEngineDialogsButtonQuitsOnlyWhenTheDesktopHasAnswered) {
  std::vector<bool> quitBefore;
  desktop.applicationLauncher.launching = [&] {
    quitBefore.push_back(!desktop.application.exits.empty());
    return quitBefore.size() < 3;
  };
  desktop.mainInterface.noEngineWindow.press(ButtonDialog::Button::otherButton);
  EXPECT_EQ(quitBefore, (std::vector<bool>{false, false, false}));
  expectQuit();
}

TEST_F(AgentRequests, TheEngineDialogsPreferencesButtonOpensThemAndQuits) {
  desktop.applicationLauncher.active = [] { return "org.vantrel.Vantrel"; };
  desktop.mainInterface.noEngineWindow.press(ButtonDialog::Button::deleteButton);
  EXPECT_EQ(posted(), (Posted{{"VantrelShouldOpenPrefs", "VantrelQuillo"},
                              {"VantrelQuilloHasQuit", "VantrelQuillo"}}));
  expectQuit();
}

TEST_F(AgentRequests, PreferencesFromElsewhereDoNotQuit) {
  desktop.applicationLauncher.accepts = false;
  agent().openPrefs(false);
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_TRUE(desktop.application.exits.empty());
  agent().openApp();
  EXPECT_TRUE(desktop.application.exits.empty());
}

TEST_F(AgentRequests, ScriptsMayReadOneKey) {
  EXPECT_TRUE(VantrelQuillo::applicationDelegateHandlesKey("restartWatchingViaAS"));
  EXPECT_FALSE(VantrelQuillo::applicationDelegateHandlesKey("restartwatchingviaas"));
  EXPECT_FALSE(VantrelQuillo::applicationDelegateHandlesKey(""));
  EXPECT_EQ(desktop.scriptingKeys.answer("scannerCount"), std::nullopt);
  EXPECT_TRUE(log().lines().empty());
  EXPECT_EQ(desktop.scriptingKeys.answer("restartWatchingViaAS"),
            std::optional<std::string>("Restart Requested"));
  EXPECT_EQ(log().count("restartWatcher"), 1);
}

TEST_F(AgentRequests, ScriptsAreAnsweredBeforeTheRestartBegins) {
  desktop.application.keepsPosted = true;
  EXPECT_EQ(agent().restartWatchingViaAS(), "Restart Requested");
  EXPECT_EQ(log().count("restartWatcher"), 0);
  // What was decided when the script asked stays.
  desktop.mainInterface.restartMenuItem.setEnabled(false);
  desktop.application.performPosted();
  EXPECT_EQ(log().count("restartWatcher"), 1);
}

TEST_F(AgentRequests, ScriptsDoNotRestartWhenTheMenuCouldNot) {
  desktop.mainInterface.restartMenuItem.setEnabled(false);
  EXPECT_EQ(agent().restartWatchingViaAS(), "Restart Requested");
  EXPECT_EQ(log().count("restartWatcher"), 0);
}

TEST_F(AgentRequests, TheMenusItemsReachTheAgent) {
  desktop.mainInterface.restartMenuItem.choose();
  EXPECT_EQ(log().count("restartWatcher"), 1);
  desktop.mainInterface.stopMenuItem.choose();
  EXPECT_TRUE(agent().getWatchedFolderList()->empty());
  desktop.mainInterface.startMenuItem.setEnabled(true);
  desktop.mainInterface.startMenuItem.choose();
  EXPECT_EQ(agent().getWatchedFolderList()->size(), 1U);
  desktop.mainInterface.updateDefsMenuItem.setEnabled(true);
  desktop.mainInterface.updateDefsMenuItem.choose();
  EXPECT_EQ(threads.count("definitions"), 1);
  desktop.mainInterface.quitMenuItem.setEnabled(true);
  desktop.mainInterface.quitMenuItem.choose();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
}

TEST_F(AgentRequests, TheLogItemsOpenTheirLogs) {
  desktop.mainInterface.openScanLogMenuItem.choose();
  EXPECT_EQ(desktop.workspace.opened, Lines{home.path() + "/Library/Logs/VantrelQuillo-scan.log"});
  desktop.mainInterface.openQuilloConsoleLogMenuItem.choose();
  EXPECT_EQ(desktop.application.beeps, 1);
  home.write("update.log", "");
  desktop.mainInterface.openUpdateLogMenuItem.choose();
  EXPECT_EQ(desktop.workspace.opened.back(), home.path() + "/update.log");
}

TEST_F(AgentRequests, TheScannerCountIsNotClamped) {
  agent().modifyScannerCountBy(-1);
  EXPECT_EQ(agent().scannerCount(), -1);
}

TEST_F(AgentRequests, AnUpdateWithoutAThreadLeavesNoUpdateBehind) {
  threads.refused = {"definitions"};
  agent().updateVirusDefs();
  EXPECT_TRUE(log().has("A request failed: Resource temporarily unavailable")) << scanLog();
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_EQ(agent().scannerCount(), 0);
  EXPECT_FALSE(throbber->isUpdating());
}

TEST_F(AgentRequests, AQuitOfWhichAPartFailsEndsTheProcessAllTheSame) {
  desktop.distributedNotificationCenter.failsToRemove = true;
  agent().quit();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  EXPECT_EQ(posted().back(), (Posted::value_type{"VantrelQuilloHasQuit", "VantrelQuillo"}));
}

TEST_F(AgentRequests, AnUpdateWithoutAnUpdaterShowsTheEngineDialog) {
  agent().updateVirusDefs();
  EXPECT_EQ(agent().scannerCount(), 1);
  threads.run("definitions");
  EXPECT_TRUE(desktop.mainInterface.noEngineWindow.cameToFront());
  EXPECT_EQ(desktop.mainInterface.noEngineWindow.message(), "<ENGINE_UPDATER_MISSING>");
  EXPECT_TRUE(desktop.growl.posted().empty());
  EXPECT_EQ(agent().scannerCount(), 0);
  EXPECT_FALSE(throbber->isUpdating());
}

TEST_F(AgentRequests, AnUpdateAfterTheStopSaysThatTheUpdaterIsNotKnown) {
  agent().stopWatcher();
  agent().updateVirusDefs();
  threads.run("definitions");
  EXPECT_EQ(desktop.mainInterface.noEngineWindow.message(), "<ENGINE_UPDATER_UNKNOWN>");
}

TEST_F(AgentRequests, FoldersMayBeAddedUnlessTheyAreTheQuarantine) {
  desktop.preferenceStore.set("QuilloQuarantineFiles", true);
  desktop.preferenceStore.set("QuarantineFolder", "/q/");
  agent().startWatcher();
  EXPECT_FALSE(agent().okToAddDir("/q"));
  EXPECT_TRUE(agent().okToAddDir("/r"));
}

TEST_F(AgentRequests, ScannersAreGivenAlsoWhatTheyCouldDoWithout) {
  AgentParts& parts = agent().parts();
  const ScannerServices& services = parts.scannerServices;
  EXPECT_EQ(services.fileDepartures, &desktop.fileDepartures);
  EXPECT_EQ(services.putBackFiles, &parts.putBackFiles);
  EXPECT_EQ(services.pipelineObserver, &parts.progressLog);
  EXPECT_EQ(services.runningScanners, &parts.runningScanners);
  EXPECT_EQ(services.reportedFiles, &parts.reportedFiles);
  EXPECT_EQ(services.abortedScans, &parts.abortedScans);
}

TEST_F(AgentRequests, ScannersAndMenuSeeTheSameState) {
  ScannerOwner& scanner = agent().parts().scannerLink;
  ThrobberOwner& menu = agent().parts().menuLink;
  WatcherOwner& watcher = agent().parts().watcherLink;
  desktop.preferenceStore.set("QuilloQuarantineFiles", true);
  desktop.preferenceStore.set("QuarantineFolder", "~/Q");
  agent().startWatcher();
  EXPECT_EQ(scanner.settings(), agent().parts().preferences.settings());
  EXPECT_EQ(scanner.settings()->quarantineFolder, home.path() + "/Q");
  EXPECT_EQ(agent().getQuarantineOrTrash(), "Q");
  EXPECT_EQ(agent().getQuarantineLocation(), "--move=" + home.path() + "/Q");
  const ScannerServices& services = agent().parts().scannerServices;
  services.scanObserver.runBegan(7);
  EXPECT_EQ(menu.scannerCount(), 1);
  EXPECT_EQ(menu.status().filesBeingScanned, 7U);
  services.scanObserver.runEnded(7);
  EXPECT_EQ(menu.scannerCount(), 0);
  EXPECT_EQ(&menu.throbberLock(), &agent().throbberLock());
  EXPECT_EQ(menu.updateLog(), home.path() + "/update.log");
  EXPECT_EQ(agent().freshclamLogLocation(), "--log=" + home.path() + "/update.log");
  EXPECT_EQ(watcher.getWatchedFolderList(), agent().getWatchedFolderList());
  EXPECT_EQ(watcher.getCheckSubDirs(), agent().getCheckSubDirs());
  DispatcherIntake(agent().theDispatcher()).addStringToItemList("/a");
  EXPECT_EQ(services.theDispatcher.lengthOfBothItemLists(), 1U);
  EXPECT_EQ(services.mainMenu.getQuitMenuName(), "Quit Vantrel Quillo");
}

TEST_F(AgentRequests, ErrorsOfTheWorkersAreShownAsErrors) {
  agent().startWatcher();
  desktop.nameWatch.observer->placeHasGap("/a", NameWatchObserver::Gap::noQueue);
  EXPECT_EQ(desktop.growl.posted().back().name, "Error");
  EXPECT_EQ(desktop.growl.posted().back().description, "<PLACE_NO_QUEUE>");
}

TEST_F(AgentRequests, WhatTheHelperSaysIsShownAsAnErrorUntilItIsMended) {
  Notifier& notifier = agent().parts().watcherServices.notifier;
  NotificationDetails details;
  details.topic = helperTopic;
  EXPECT_TRUE(notifier.displayGrowlDialogWithTitleAndDescription(notificationError, "not installed",
                                                                 details));
  EXPECT_EQ(desktop.growl.posted().back().name, "Error");
  EXPECT_EQ(desktop.growl.posted().back().description, "not installed");
  EXPECT_FALSE(desktop.growl.withdrawn.has(helperTopic));
  notifier.withdraw(helperTopic);
  EXPECT_TRUE(desktop.growl.withdrawn.has(helperTopic));
}

TEST_F(AgentRequests, TheWatchersOwnStopAndStartComeInOrderOnTheMainThread) {
  desktop.application.keepsPosted = true;
  agent().parts().watching.stopWatcherFromWatcher();
  EXPECT_TRUE(log().has("attempting to terminate gfslogger"));
  EXPECT_EQ(agent().getWatchedFolderList()->size(), 1U);
  agent().parts().watching.startWatcherFromWatcher();
  desktop.application.performPosted();
  EXPECT_EQ(agent().getWatchedFolderList()->size(), 1U);
  EXPECT_FALSE(agent().parts().scanParameters.scanAndUpdateParametersWithThrobber().empty());
  EXPECT_TRUE(desktop.mountNotifications.observer);
}

TEST_F(AgentRequests, TheWatchersOwnStopEndsNothingThatWasBegunSince) {
  desktop.application.keepsPosted = true;
  agent().parts().watching.stopWatcherFromWatcher();
  agent().startWatcher();
  desktop.application.performPosted();
  EXPECT_EQ(agent().getWatchedFolderList()->size(), 1U);
  EXPECT_TRUE(desktop.mountNotifications.observer);
}

TEST_F(AgentRequests, TheWatchersOwnStopEndsTheRestOnTheMainThread) {
  desktop.application.keepsPosted = true;
  agent().parts().watching.stopWatcherFromWatcher();
  desktop.application.performPosted();
  EXPECT_TRUE(agent().getWatchedFolderList()->empty());
  EXPECT_FALSE(desktop.mountNotifications.observer);
}

}  // namespace
}  // namespace quillo
