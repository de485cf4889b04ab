#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>

#include "posix/PlatformException.h"
#include "tests/fakes/agent/AgentUnderTest.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class AgentStart : public testing::Test, protected AgentUnderTest {
 protected:
  void TearDown() override {
    output.restore();
    if (HasFailure()) {
      std::printf("%s\n", scanLog().c_str());
    }
  }
  void launch() { agent().applicationDidFinishLaunching(); }
  // The menu is disabled as it is without an engine.
  void expectMenuDisabled() {
    EXPECT_FALSE(desktop.mainInterface.startMenuItem.isEnabled());
    EXPECT_FALSE(desktop.mainInterface.stopMenuItem.isEnabled());
    EXPECT_FALSE(desktop.mainInterface.restartMenuItem.isEnabled());
    EXPECT_FALSE(desktop.mainInterface.updateDefsMenuItem.isEnabled());
  }
  void expectEngineProblem(const std::string& key) {
    EXPECT_TRUE(desktop.mainInterface.noEngineWindow.cameToFront());
    EXPECT_EQ(desktop.mainInterface.noEngineWindow.message(), "<" + key + ">");
  }
  void expectListening() {
    EXPECT_EQ(desktop.distributedNotificationCenter.observers.count("VantrelQuilloShouldRestart"),
              1U);
    EXPECT_EQ(desktop.distributedNotificationCenter.observers.count("VantrelQuilloShouldQuit"), 1U);
    EXPECT_TRUE(desktop.powerNotifications.willSleep && desktop.powerNotifications.didWake);
    EXPECT_TRUE(desktop.scriptingKeys.answer);
  }
};

TEST_F(AgentStart, LaysTheOutputOntoTheScanLog) {
  agent();
  std::printf("to the log\n");
  std::fprintf(stderr, "this too\n");
  output.restore();
  EXPECT_NE(scanLog().find("to the log\n"), std::string::npos);
  EXPECT_NE(scanLog().find("this too\n"), std::string::npos);
}

TEST_F(AgentStart, WithoutAThreadForAWorkerStartsTheOthersAndListens) {
  threads.refused = {"Throbber"};
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(threads.count("Dispatcher"), 1);
  EXPECT_EQ(threads.count("secondPatientScanner"), 1);
  EXPECT_TRUE(log().has("A request failed: Resource temporarily unavailable"));
  EXPECT_EQ(desktop.application.beeps, 1);
  expectListening();
}

TEST_F(AgentStart, DoesNothingElseWhenItIsMade) {
  agent();
  EXPECT_TRUE(threads.names().empty());
  EXPECT_TRUE(desktop.distributedNotificationCenter.observers.empty());
  EXPECT_TRUE(log().lines().empty());
  EXPECT_EQ(agent().scannerCount(), 0);
  EXPECT_TRUE(agent().getWatchedFolderList()->empty());
  EXPECT_TRUE(agent().getCheckSubDirs()->empty());
  EXPECT_EQ(agent().parts().dialogList.count(), 0U);
  EXPECT_EQ(desktop.preferenceStore.synchronizations(), 0);
}

TEST_F(AgentStart, StartsTheWorkersInOrderAndTheWatcherLast) {
  launch();
  EXPECT_EQ(threads.names(),
            (Lines{"Throbber", "Dispatcher", "firstPatientScanner", "secondPatientScanner",
                   "history", "FSEventWatcher", "Health"}));
}

TEST_F(AgentStart, RegistersItsNotificationsUnderTheirNames) {
  launch();
  ASSERT_TRUE(desktop.growl.registration.has_value());
  EXPECT_EQ(desktop.growl.registration->allNotifications.front(), "<FOUND>");
}

TEST_F(AgentStart, RunsWithoutNotificationsOnAnOldDesktop) {
  desktop.application.version = 0x1039;
  launch();
  EXPECT_FALSE(desktop.growl.registration.has_value());
  EXPECT_FALSE(agent().displayGrowlDialogWithTitleAndDescription(1, "x"));
  expectListening();
}

TEST_F(AgentStart, ReadsPreferencesRotatesAndFillsTheMenuInOrder) {
  desktop.preferenceStore.set("QuilloFolderArray",
                              PreferenceValue{PreferenceArray{watchedFolder("~", true)}});
  launch();
  const Lines lines = log().lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(Lines(lines.begin() + 1, lines.end()),
            (Lines{"scan email files", "clamdconfEncoding: 4",
                   "The scan log is not rotated: " + home.path() +
                       "/resources/engine-tools/newsyslog: launch path not accessible",
                   "Folders to guard: " + home.path() + "/"}));
  EXPECT_EQ(*agent().getWatchedFolderList(), Lines{home.path() + "/"});
  EXPECT_EQ(agent().parts().scanParameters.scanAndUpdateParametersWithThrobber().size(), 3U);
  EXPECT_EQ(agent().parts().clamdLink.clamdSocket(), std::optional<std::string>(socketPath()));
  EXPECT_TRUE(throbber->isCurrentlyWatching());
}

TEST_F(AgentStart, BeginsTheLogWithALineForPeople) {
  launch();
  const Lines lines = log().lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_TRUE(lines.front().starts_with("Vantrel Quillo ")) << lines.front();
  EXPECT_NE(lines.front().find(" starts for "), std::string::npos) << lines.front();
  EXPECT_TRUE(lines.front().ends_with("Help: man vantrel-quillo")) << lines.front();
}

TEST_F(AgentStart, WatchesAlsoWithoutAnyFolder) {
  launch();
  EXPECT_TRUE(log().has("There is no folder to guard: the preferences name none that is there"));
  EXPECT_EQ(threads.count("FSEventWatcher"), 1);
  EXPECT_EQ(desktop.mainInterface.theSubMenu.titles(), Lines());
}

TEST_F(AgentStart, ListensToTheDesktop) {
  launch();
  expectListening();
  EXPECT_TRUE(desktop.mountNotifications.observer);
}

TEST_F(AgentStart, UpdatesTheDefinitionsWhenThatIsWanted) {
  launch();
  EXPECT_EQ(threads.count("definitions"), 0);
  desktop.preferenceStore.set("UpdateDefsOnLaunch", true);
  agent().startWatcherAndUpdate(true);
  EXPECT_EQ(threads.count("definitions"), 1);
  EXPECT_EQ(agent().scannerCount(), 1);
  EXPECT_TRUE(throbber->isUpdating());
}

TEST_F(AgentStart, DoesNotUpdateTheDefinitionsAtALaterStart) {
  desktop.preferenceStore.set("UpdateDefsOnLaunch", true);
  launch();
  agent().startWatcher();
  agent().restartWatcher();
  EXPECT_EQ(threads.count("definitions"), 1);
}

TEST_F(AgentStart, ShowsADockTileForTrueAndBothInAnyCase) {
  int shown = 0;
  for (const char* wanted : {"true", "TRUE", "True", "both", "BOTH", "bOtH"}) {
    desktop.preferenceStore.set("ShowDockIcon", wanted);
    launch();
    EXPECT_EQ(desktop.application.transformations, ++shown) << wanted;
  }
}

TEST_F(AgentStart, ShowsNoDockTileForAnythingElse) {
  launch();
  for (const char* other : {"yes", "false", "", "true ", "1"}) {
    desktop.preferenceStore.set("ShowDockIcon", other);
    launch();
  }
  desktop.preferenceStore.set("ShowDockIcon", true);
  launch();
  EXPECT_EQ(desktop.application.transformations, 0);
}

TEST_F(AgentStart, ReportsThatTheDockTileCannotBeShown) {
  desktop.preferenceStore.set("ShowDockIcon", "true");
  desktop.application.transformResult = -606;
  launch();
  EXPECT_TRUE(log().has("Could not bring the application to front. Error -606"));
  expectListening();
}

TEST_F(AgentStart, ReportsNothingOfADockTileThatIsShown) {
  desktop.preferenceStore.set("ShowDockIcon", "true");
  launch();
  EXPECT_FALSE(log().has("Could not bring the application to front. Error 0"));
}

TEST_F(AgentStart, GoesOnWithoutAnEngineAndWatchesNothing) {
  daemon.reset();
  desktop.preferenceStore.set("QuilloFolderArray",
                              PreferenceValue{PreferenceArray{watchedFolder("~", true)}});
  launch();
  EXPECT_EQ(threads.count("FSEventWatcher"), 0);
  EXPECT_TRUE(agent().getWatchedFolderList()->empty());
  EXPECT_EQ(desktop.mainInterface.noEngineWindow.calls(),
            (Lines{"makeFloatingKeyAndOrderFront", "orderFrontRegardless"}));
  expectEngineProblem("ENGINE_DAEMON_MISSING");
  expectMenuDisabled();
  expectListening();
  EXPECT_TRUE(desktop.application.exits.empty());
}

TEST_F(AgentStart, WatchesOnceThereIsAnEngineAndARestart) {
  daemon.reset();
  launch();
  daemon = RunningDaemon{"/running/clamd", std::nullopt};
  desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart");
  EXPECT_EQ(threads.count("FSEventWatcher"), 1);
}

TEST_F(AgentStart, ShowsThatTheScannerCannotBeReadAndWatches) {
  desktop.preferenceStore.set("PathToClamav", home.path() + "/elsewhere");
  launch();
  expectEngineProblem("ENGINE_SCANNER_MISSING");
  EXPECT_EQ(threads.count("FSEventWatcher"), 1);
}

TEST_F(AgentStart, SaysThatTheDaemonDidNotComeUp) {
  daemon.reset();
  home.makeFolder("engine/sbin");
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 1\n");
  desktop.preferenceStore.set("PathToClamav", home.path() + "/engine");
  launch();
  expectEngineProblem("ENGINE_DAEMON_FAILED");
}

TEST_F(AgentStart, SaysThatNoEngineIsChosen) {
  daemon.reset();
  desktop.preferenceStore.remove("PathToClamav");
  launch();
  expectEngineProblem("ENGINE_NOT_CHOSEN");
}

TEST_F(AgentStart, PanicsForMissingPreferencesAndWatches) {
  desktop.preferenceStore.remove("PathToUpdateLog");
  launch();
  ASSERT_EQ(desktop.growl.posted().size(), 1U);
  EXPECT_EQ(desktop.growl.posted()[0].name, "Error");
  EXPECT_EQ(desktop.growl.posted()[0].description, "<CLAMDSCAN_ERROR>");
  expectEngineProblem("ENGINE_NO_UPDATE_LOG");
  EXPECT_EQ(threads.count("FSEventWatcher"), 1);
}

TEST_F(AgentStart, ListensAlsoWhenWatchingFailsForAReasonOfItsOwn) {
  findDaemon = []() -> std::optional<RunningDaemon> { throw std::runtime_error("out of luck"); };
  launch();
  EXPECT_TRUE(log().has("A request failed: out of luck"));
  expectListening();
}

TEST_F(AgentStart, MayTryAgainWhenThereWasNoThreadForTheWatcher) {
  threads.refused = {"FSEventWatcher"};
  launch();
  expectListening();
  EXPECT_EQ(threads.count("FSEventWatcher"), 0);
  threads.refused.clear();
  agent().startWatcher();
  EXPECT_EQ(threads.count("FSEventWatcher"), 1);
}

TEST_F(AgentStart, WarnsOfDefinitionsThatHoldNoMalware) {
  home.write("engine/etc/clamd.conf", "DatabaseDirectory " + home.makeFolder("db") + "\n");
  launch();
  EXPECT_TRUE(
      log().has("No virus definitions are installed, only the built-in one of the EICAR test "
                "file: malware is NOT found until the definitions have been updated"));
  ASSERT_EQ(desktop.growl.posted().size(), 1U);
  EXPECT_EQ(desktop.growl.posted()[0].description, "<DEFINITIONS_MISSING>");
}

TEST_F(AgentStart, TakesTheWarningOfMissingDefinitionsBackWhenAnUpdateBroughtSome) {
  home.write("engine/etc/clamd.conf", "DatabaseDirectory " + home.makeFolder("db") + "\n");
  home.writeProgram("engine/bin/freshclam", "#!/bin/sh\n");
  launch();
  const NotificationDetails hint = desktop.growl.posted().at(0).details;
  ASSERT_FALSE(hint.topic.empty());
  ASSERT_EQ(hint.buttons.size(), 1U);
  EXPECT_EQ(hint.buttons[0].title, "<NOTIFICATION_UPDATE>");
  const auto isWithdrawn = [&] {
    const auto withdrawn = desktop.growl.withdrawn();
    return std::find(withdrawn.begin(), withdrawn.end(), hint.topic) != withdrawn.end();
  };
  const auto update = [&] {
    hint.buttons[0].press();
    threads.run("definitions");
  };
  update();
  EXPECT_FALSE(isWithdrawn());
  home.write("db/daily.cvd", "definitions");
  update();
  EXPECT_TRUE(isWithdrawn());
}

TEST_F(AgentStart, TakesThatWarningBackAlsoWhenDefinitionsCameByAnotherWay) {
  home.write("engine/etc/clamd.conf", "DatabaseDirectory " + home.makeFolder("db") + "\n");
  launch();
  const std::string topic = desktop.growl.posted().at(0).details.topic;
  agent().parts().health.round();
  EXPECT_EQ(desktop.growl.withdrawn(), std::vector<std::string>());
  home.write("db/daily.cvd", "definitions");
  agent().parts().health.lookSoon();
  agent().parts().health.round();
  EXPECT_EQ(desktop.growl.withdrawn(), std::vector<std::string>{topic});
}

TEST_F(AgentStart, LogsProgressWhenThatIsWanted) {
  desktop.preferenceStore.set("QuilloLogProgress", true);
  launch();
  agent().theDispatcher().addStringToItemList("/a");
  EXPECT_TRUE(log().has("Noticed: /a"));
  desktop.preferenceStore.set("QuilloLogProgress", false);
  agent().startWatcher();
  agent().theDispatcher().addStringToItemList("/b");
  EXPECT_FALSE(log().has("Noticed: /b"));
}

}  // namespace
}  // namespace quillo
