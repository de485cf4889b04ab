// What the agent says to whoever has not set it up yet, and how it helps.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fakes/agent/AgentUnderTest.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class AgentMending : public testing::Test, protected AgentUnderTest {
 protected:
  AgentMending() {
    desktop.applicationLauncher.installed = false;
    desktop.preferenceStore.folder = home.path() + "/.config/vantrel";
    desktop.preferenceStore.set("QuilloFolderArray",
                                PreferenceValue{PreferenceArray{watchedFolder("~", true)}});
    home.write("resources/preferences/first.toml.in", "PathToClamav = \"@ENGINE@\"\n");
  }
  void forgetPreferences() {
    for (const char* key : {"PathToClamav", "PathToUpdateLog", "QuilloFolderArray"}) {
      desktop.preferenceStore.remove(key);
    }
  }
  void launch() { agent().applicationDidFinishLaunching(); }
  FakeDialog& alone() { return desktop.mainInterface.noEngineAloneWindow; }
  FakeDialog& withMainApplication() { return desktop.mainInterface.noEngineWindow; }
  std::string preferences() const {
    return home.path() + "/.config/vantrel/org.vantrel.Vantrel.toml";
  }
  std::string toolTip() { return desktop.statusBar.item.toolTip(); }

  FakeMainInterface& menu = desktop.mainInterface;
};

TEST_F(AgentMending, SaysThatThereAreNoPreferencesYetAndWhereTheyWouldBe) {
  forgetPreferences();
  daemon.reset();
  desktop.localizedStrings.texts["ENGINE_NO_PREFERENCES"] = "None\nNo file %@\nDo";
  launch();
  EXPECT_EQ(alone().message(), "None\nNo file " + preferences() + "\n<ADVICE_NO_PREFERENCES>");
  EXPECT_EQ(toolTip(), "<STATUS_NO_PREFERENCES>");
  EXPECT_EQ(desktop.statusBar.item.image(), "");
  EXPECT_TRUE(withMainApplication().message().empty());
}

TEST_F(AgentMending, SaysSoAlsoWhereADaemonOfTheMachineRuns) {
  forgetPreferences();
  desktop.localizedStrings.texts["ENGINE_NO_PREFERENCES"] = "None\nNo file %@\nDo";
  launch();
  EXPECT_EQ(toolTip(), "<STATUS_NO_PREFERENCES>");
  EXPECT_EQ(alone().message(), "None\nNo file " + preferences() + "\n<ADVICE_NO_PREFERENCES>");
}

TEST_F(AgentMending, OffersTheMainApplicationOnlyWhereItIsInstalled) {
  desktop.preferenceStore.remove("PathToClamav");
  desktop.applicationLauncher.installed = true;
  launch();
  EXPECT_TRUE(withMainApplication().cameToFront());
  EXPECT_FALSE(alone().cameToFront());
}

TEST_F(AgentMending, OpensAFirstFileOfPreferencesAndStays) {
  forgetPreferences();
  launch();
  alone().press(ButtonDialog::Button::deleteButton);
  EXPECT_EQ(desktop.workspace.opened, Lines{preferences()});
  EXPECT_EQ(contentsOfFile(preferences()),
            "PathToClamav = \"" + home.path() + "/.local/share/vantrel/engine\"\n");
  EXPECT_TRUE(desktop.application.exits.empty());
  EXPECT_TRUE(desktop.applicationLauncher.launched.empty());
}

TEST_F(AgentMending, TakesTheWindowAwayWhenTheEngineIsFound) {
  desktop.preferenceStore.remove("PathToClamav");
  launch();
  ASSERT_TRUE(alone().cameToFront());
  desktop.preferenceStore.set("PathToClamav", engine());
  desktop.application.reopen();
  EXPECT_EQ(alone().calls().back(), "orderOut");
  EXPECT_EQ(toolTip(), "<STATUS_WATCHING_ONE>");
}

TEST_F(AgentMending, SaysAgainWhatIsMissing) {
  desktop.preferenceStore.remove("PathToClamav");
  launch();
  const std::size_t before = alone().calls().size();
  ASSERT_EQ(menu.mendMenuItem.title(), "<MEND_ENGINE>");
  menu.mendMenuItem.choose();
  EXPECT_GT(alone().calls().size(), before);
}

TEST_F(AgentMending, UpdatesDefinitionsThatAreMissing) {
  home.write("engine/etc/clamd.conf",
             "LocalSocket " + socketPath() + "\nDatabaseDirectory " + home.makeFolder("db") + "\n");
  launch();
  agent().parts().health.round();
  EXPECT_EQ(menu.mendMenuItem.title(), "<MEND_DEFINITIONS>");
  menu.mendMenuItem.choose();
  EXPECT_EQ(threads.count("definitions"), 1);
}

TEST_F(AgentMending, LooksAfterDefinitionsAgainWhenAnUpdateHasEnded) {
  launch();
  agent().parts().health.round();
  home.write("engine/etc/clamd.conf", "DatabaseDirectory " + home.makeFolder("db") + "\n");
  agent().updateVirusDefs();
  threads.run("definitions");
  agent().parts().health.round();
  EXPECT_EQ(agent().parts().statusBoard.status().definitions, DefinitionState::none);
}

TEST_F(AgentMending, OpensThePageOfTheFoldersForThoseThatAreMissingElseThePreferences) {
  desktop.preferenceStore.set(
      "QuilloFolderArray",
      PreferenceValue{PreferenceArray{watchedFolder("~", true), watchedFolder("/no/such", true)}});
  launch();
  ASSERT_EQ(menu.mendMenuItem.title(), "<MEND_FOLDERS>");
  menu.mendMenuItem.choose();
  EXPECT_EQ(desktop.workspace.opened, Lines{preferences()});
  desktop.applicationLauncher.installed = true;
  menu.mendMenuItem.choose();
  EXPECT_EQ(desktop.applicationLauncher.pages, Lines{"org.vantrel.Vantrel folders"});
  EXPECT_TRUE(desktop.application.exits.empty());
}

TEST_F(AgentMending, OpensTheOverviewForAHelperThatFailsElseTheLog) {
  launch();
  desktop.applicationLauncher.installed = true;
  agent().parts().watcherLink.showWhatMends();
  EXPECT_EQ(desktop.applicationLauncher.pages, Lines{"org.vantrel.Vantrel overview"});
  EXPECT_TRUE(desktop.workspace.opened.empty());
  desktop.applicationLauncher.installed = false;
  agent().parts().watcherLink.showWhatMends();
  ASSERT_EQ(desktop.workspace.opened.size(), 1U);
  EXPECT_TRUE(desktop.workspace.opened[0].ends_with("VantrelQuillo-scan.log"));
}

TEST_F(AgentMending, WatchesAnewForAHelperThatFails) {
  launch();
  agent().parts().watcherLink.setHelperFails(true);
  ASSERT_EQ(menu.mendMenuItem.title(), "<MEND_ENGINE_FAILS>");
  desktop.preferenceStore.set(
      "QuilloFolderArray",
      PreferenceValue{PreferenceArray{watchedFolder("~", true),
                                      watchedFolder(home.makeFolder("other"), true)}});
  menu.mendMenuItem.choose();
  agent().parts().watcherLink.setHelperFails(false);
  EXPECT_EQ(toolTip(), "<STATUS_WATCHING>");
}

TEST_F(AgentMending, OpensTheFoldersForGapsAndTheOverviewForAnEngineElseWhatThereIs) {
  launch();
  desktop.applicationLauncher.installed = true;
  agent().parts().watcherLink.showFolders();
  agent().parts().engineLink.showWhatMends();
  EXPECT_EQ(desktop.applicationLauncher.pages,
            (Lines{"org.vantrel.Vantrel folders", "org.vantrel.Vantrel overview"}));
  desktop.applicationLauncher.installed = false;
  agent().parts().watcherLink.showFolders();
  ASSERT_EQ(desktop.workspace.opened.size(), 1U);
  EXPECT_TRUE(desktop.workspace.opened[0].ends_with("VantrelQuillo-scan.log"));
  const std::size_t before = alone().calls().size();
  agent().parts().engineLink.showWhatMends();
  EXPECT_GT(alone().calls().size(), before);
}

// The engine may load for minutes between the two.
TEST_F(AgentMending, HearsOfPlannedScansBeforeAnybodyCanSeeThatItIsThere) {
  std::size_t heard = 0;
  desktop.statusPublisher.atPublishing = [&] {
    const auto& observers = desktop.distributedNotificationCenter.objectObservers;
    heard = observers.count(plannedScanEnded) + observers.count(plannedScanFound);
  };
  launch();
  EXPECT_EQ(heard, 2U);
}

TEST_F(AgentMending, ShowsWhatAPlannedScanCameToAndLeadsToTheResults) {
  launch();
  desktop.applicationLauncher.installed = true;
  desktop.distributedNotificationCenter.deliver(plannedScanFound, "Found\n2 finds\n1 left out");
  desktop.distributedNotificationCenter.deliver(plannedScanEnded, "Ended early");
  desktop.distributedNotificationCenter.deliver(plannedScanEnded, "");
  const auto posted = desktop.growl.posted();
  ASSERT_EQ(posted.size(), 2U);
  EXPECT_EQ(posted[0].details.summary, "Found");
  EXPECT_EQ(posted[0].details.body, "2 finds\n1 left out");
  EXPECT_TRUE(posted[0].details.isFind);
  EXPECT_EQ(posted[1].details.summary, "Ended early");
  EXPECT_FALSE(posted[1].details.isFind);
  ASSERT_EQ(posted[0].details.buttons.size(), 1U);
  EXPECT_EQ(posted[0].details.buttons[0].title, "<NOTIFICATION_RESULTS>");
  posted[0].details.buttons[0].press();
  EXPECT_EQ(desktop.applicationLauncher.pages, Lines{"org.vantrel.Vantrel results"});
}

TEST_F(AgentMending, ShowsItsWindowFromTheFirstLineOfTheMenu) {
  launch();
  menu.stateMenuItem.choose();
  EXPECT_EQ(desktop.application.activations, 1);
}

TEST_F(AgentMending, SaysOnceThatThereIsNoPlaceForItsIcon) {
  launch();
  desktop.statusBar.room(StatusBar::Room::none, "sway:wlroots");
  desktop.statusBar.room(StatusBar::Room::none, "sway:wlroots");
  ASSERT_EQ(desktop.growl.posted().size(), 1U);
  EXPECT_EQ(desktop.growl.posted()[0].description, "<NO_TRAY>");
  EXPECT_EQ(desktop.application.activations, 0);
  const auto buttons = desktop.growl.posted()[0].details.buttons;
  ASSERT_EQ(buttons.size(), 1U);
  EXPECT_EQ(buttons[0].title, "<NO_TRAY_SHOW>");
  buttons[0].press();
  EXPECT_EQ(desktop.application.activations, 1);
}

TEST_F(AgentMending, SaysWithTheHintWhatItIsDoing) {
  desktop.localizedStrings.texts["NO_TRAY"] = "%@. No place";
  launch();
  desktop.statusBar.room(StatusBar::Room::notYet, "GNOME");
  ASSERT_EQ(desktop.growl.posted().size(), 1U);
  EXPECT_EQ(desktop.growl.posted()[0].description, toolTip() + ". No place");
  desktop.statusBar.room(StatusBar::Room::none, "GNOME");
  EXPECT_EQ(desktop.growl.posted().size(), 1U);
}

TEST_F(AgentMending, TakesTheHintBackWhenAPanelComesLate) {
  launch();
  desktop.statusBar.room(StatusBar::Room::notYet, "KDE");
  const std::string topic = desktop.growl.posted().at(0).details.topic;
  desktop.statusBar.room(StatusBar::Room::shown, "KDE");
  ASSERT_FALSE(topic.empty());
  ASSERT_FALSE(desktop.growl.withdrawn().empty());
  EXPECT_EQ(desktop.growl.withdrawn().back(), topic);
}

TEST_F(AgentMending, ShowsItsWindowOnlyWhenNeitherPanelNorNotificationsHaveCome) {
  desktop.growl.setRunning(false);
  launch();
  desktop.statusBar.room(StatusBar::Room::notYet, "KDE");
  EXPECT_EQ(desktop.application.activations, 0);
  desktop.statusBar.room(StatusBar::Room::none, "KDE");
  EXPECT_EQ(desktop.application.activations, 1);
}

TEST_F(AgentMending, SaysSoOnAnotherDesktopAsWell) {
  launch();
  desktop.statusBar.room(StatusBar::Room::none, "sway:wlroots");
  desktop.statusBar.room(StatusBar::Room::none, "GNOME");
  EXPECT_EQ(desktop.growl.posted().size(), 2U);
}

TEST_F(AgentMending, SaysSoAgainWhenThereWasAPlaceMeanwhile) {
  launch();
  desktop.statusBar.room(StatusBar::Room::none, "GNOME");
  desktop.statusBar.room(StatusBar::Room::shown, "GNOME");
  desktop.statusBar.room(StatusBar::Room::none, "GNOME");
  EXPECT_EQ(desktop.growl.posted().size(), 2U);
}

TEST_F(AgentMending, SaysAgainInTheNextRunWhatNoServiceTook) {
  desktop.growl.setRunning(false);
  launch();
  desktop.statusBar.room(StatusBar::Room::none, "GNOME");
  desktop.statusBar.room(StatusBar::Room::none, "GNOME");
  EXPECT_EQ(desktop.application.activations, 1);
  EXPECT_FALSE(std::filesystem::exists(desktop.folders.stateFolder() + "/told-no-tray-GNOME"));
}

TEST_F(AgentMending, ShowsItsWindowWhereThereAreNoNotificationsEither) {
  desktop.growl.setRunning(false);
  launch();
  desktop.statusBar.room(StatusBar::Room::none, "sway:wlroots");
  EXPECT_EQ(desktop.application.activations, 1);
}

TEST_F(AgentMending, SaysNothingToWhoeverHasTheWindowInTheTaskBar) {
  desktop.preferenceStore.set("ShowDockIcon", "Both");
  launch();
  desktop.statusBar.room(StatusBar::Room::none, "GNOME");
  EXPECT_TRUE(desktop.growl.posted().empty());
}

}  // namespace
}  // namespace quillo
