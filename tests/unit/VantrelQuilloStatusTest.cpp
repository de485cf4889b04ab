// What the agent shows of itself: the words of its state, and the Dock tile.

#include <gtest/gtest.h>

#include <filesystem>

#include "posix/PlatformException.h"
#include "tests/fakes/agent/AgentUnderTest.h"

namespace quillo {
namespace {

class AgentStatus : public testing::Test, protected AgentUnderTest {
 protected:
  AgentStatus() { watchFolders({"~", "/"}); }
  void watchFolders(const std::vector<std::string>& paths) {
    PreferenceArray entries;
    for (const std::string& path : paths) {
      entries.push_back(watchedFolder(path, true));
    }
    desktop.preferenceStore.set("QuilloFolderArray", PreferenceValue{entries});
    desktop.localizedStrings.texts["STATUS_WATCHING"] = "Watching %@ folders";
  }
  void launch() { agent().applicationDidFinishLaunching(); }
  std::string toolTip() { return desktop.statusBar.item.toolTip(); }
};

TEST_F(AgentStatus, SaysHowManyFoldersAreWatched) {
  launch();
  EXPECT_EQ(desktop.statusBar.item.toolTips(),
            (std::vector<std::string>{"<WAIT>", "Watching 2 folders"}));
  EXPECT_EQ(desktop.dockTile.state(), "Watching 2 folders");
  EXPECT_EQ(desktop.dockTile.watchedFolders(), (std::vector<std::string>{"~/", "/"}));
}

TEST_F(AgentStatus, SaysThatNotEveryFolderIsWatchedCompletely) {
  desktop.localizedStrings.texts["STATUS_PARTLY"] = "%@, not all of them";
  launch();
  ASSERT_TRUE(desktop.nameWatch.observer);
  desktop.nameWatch.observer->placeHasGap("/", NameWatchObserver::Gap::tooManyFolders);
  EXPECT_EQ(toolTip(), "Watching 2 folders, not all of them");
  agent().restartWatcher();
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, CountsOnlyFoldersThatAreThere) {
  watchFolders({"~", "/no/such/folder"});
  desktop.localizedStrings.texts["STATUS_BUT"] = "%@, but %@";
  desktop.localizedStrings.texts["STATUS_NOT_THERE_ONE"] = "%@ is not there";
  launch();
  EXPECT_EQ(toolTip(), "<STATUS_WATCHING_ONE>, but /no/such/folder is not there");
}

TEST_F(AgentStatus, SaysAtTheFirstVerdictThatTheEngineIsBack) {
  launch();
  agent().parts().statusBoard.setEngineMissing(true);
  agent().mainMenu().showStatus();
  ASSERT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
  agent().parts().statusBoard.verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, AsksForPatienceWhileTheEngineLoads) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
  std::string meanwhile;
  desktop.application.duringWait = [&] {
    if (meanwhile.empty()) {
      meanwhile = toolTip();
    }
  };
  launch();
  EXPECT_EQ(meanwhile, "<WAIT>");
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, SaysThatNothingIsWatchedAfterAStop) {
  launch();
  agent().stopWatcher();
  EXPECT_EQ(toolTip(), "<STATUS_IDLE>");
  EXPECT_TRUE(desktop.dockTile.watchedFolders().empty());
}

TEST_F(AgentStatus, SaysThatThereIsNoEngineUntilOneIsFound) {
  desktop.preferenceStore.remove("PathToClamav");
  launch();
  EXPECT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
  desktop.preferenceStore.set("PathToClamav", engine());
  agent().startWatcher();
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, SaysThatThereIsNoEngineWhenTheScannerProgramIsMissing) {
  std::filesystem::remove(engine() + "/bin/clamdscan");
  launch();
  EXPECT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
}

TEST_F(AgentStatus, SaysThatThereIsNoEngineWhenAScannerFindsItGone) {
  launch();
  agent().parts().scannerLink.noEnginePanic("/engine/bin/clamdscan");
  EXPECT_EQ(desktop.mainInterface.noEngineWindow.message(), "<ENGINE_SCANNER_FAILED>");
  EXPECT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
}

TEST_F(AgentStatus, SaysThatNothingIsScannedOnceTheDaemonCannotBeLaunchedAgain) {
  launch();
  agent().parts().clamdLink.setDaemonPaths("/nowhere/clamd", std::nullopt);
  std::filesystem::remove(engine() + "/sbin/clamd");
  EXPECT_THROW(agent().parts().scannerLink.recoverFromCrashedClamd(), PlatformException);
  EXPECT_EQ(toolTip(), "<STATUS_ENGINE_FAILS>");
  agent().parts().statusBoard.verdictGiven(Verdict::parse("/a: OK"));
  agent().parts().mainMenu.showStatus();
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, OffersToWatchAnewWhereTheEngineFails) {
  launch();
  agent().parts().statusBoard.setEngineFails(true);
  agent().parts().mainMenu.showStatus();
  EXPECT_EQ(agent().parts().mainMenu.attention(), Attention::engineFails);
  agent().startWatcher();
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, SaysThatTheHelperFailsForAsLongAsItDoes) {
  launch();
  agent().parts().watcherLink.setHelperFails(true);
  EXPECT_EQ(toolTip(), "<STATUS_HELPER_FAILS>");
  agent().parts().watcherLink.setHelperFails(false);
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, DoesNotWaitForeverWhenAStartFails) {
  threads.refused = {"FSEventWatcher"};
  launch();
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, ListsVerdictsOnlyWhereThereIsADockTile) {
  launch();
  agent().parts().statusBoard.verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_TRUE(desktop.dockTile.verdicts().empty());
}

TEST_F(AgentStatus, ListsVerdictsInTheDockTile) {
  desktop.preferenceStore.set("ShowDockIcon", "both");
  launch();
  agent().parts().statusBoard.verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_EQ(desktop.dockTile.verdicts().size(), 1U);
}

TEST_F(AgentStatus, IsShownWithItsLastVerdictsWhenTheProgramIsStartedAgain) {
  launch();
  agent().parts().statusBoard.verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_EQ(desktop.application.reopen(), 0);
  EXPECT_EQ(desktop.application.activations, 1);
  EXPECT_EQ(desktop.application.transformations, 0);
  EXPECT_EQ(desktop.dockTile.verdicts().size(), 1U);
}

TEST_F(AgentStatus, SaysWhyItCannotBeShownWhenTheProgramIsStartedAgain) {
  desktop.application.activateResult = 95;
  launch();
  EXPECT_EQ(desktop.application.reopen(), 95);
  EXPECT_TRUE(log().has("Could not bring the application to front. Error 95"));
}

TEST_F(AgentStatus, LooksAgainForAMissingEngineWhenTheProgramIsStartedAgain) {
  desktop.preferenceStore.remove("PathToClamav");
  launch();
  ASSERT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
  desktop.preferenceStore.set("PathToClamav", engine());
  EXPECT_EQ(desktop.application.reopen(), 0);
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentStatus, DoesNotStartToWatchAnewForBeingStartedAgain) {
  launch();
  log().clear();
  desktop.application.reopen();
  EXPECT_FALSE(log().has("restartWatcher"));
}

TEST_F(AgentStatus, ListsNoVerdictsInADockTileThatCannotBeShown) {
  desktop.preferenceStore.set("ShowDockIcon", "both");
  desktop.application.transformResult = -606;
  launch();
  agent().parts().statusBoard.verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_TRUE(desktop.dockTile.verdicts().empty());
}

}  // namespace
}  // namespace quillo
