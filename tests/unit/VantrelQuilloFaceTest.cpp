// What the agent shows of itself: the words of its state, and the Dock tile.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fakes/agent/AgentUnderTest.h"

namespace quillo {
namespace {

class AgentFace : public testing::Test, protected AgentUnderTest {
 protected:
  AgentFace() { watchFolders({"~", "/"}); }
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

TEST_F(AgentFace, SaysHowManyFoldersAreWatched) {
  launch();
  EXPECT_EQ(desktop.statusBar.item.toolTips(),
            (std::vector<std::string>{"<WAIT>", "Watching 2 folders"}));
  EXPECT_EQ(desktop.dockTile.state(), "Watching 2 folders");
  EXPECT_EQ(desktop.dockTile.watchedFolders(), (std::vector<std::string>{"~/", "/"}));
}

TEST_F(AgentFace, SaysThatNotEveryFolderIsWatchedCompletely) {
  desktop.localizedStrings.texts["STATUS_PARTLY"] = "%@, not all of them";
  launch();
  ASSERT_TRUE(desktop.nameWatch.observer);
  desktop.nameWatch.observer->placeHasGap("/", NameWatchObserver::Gap::tooManyFolders);
  EXPECT_EQ(toolTip(), "Watching 2 folders, not all of them");
  agent().restartWatcher();
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentFace, CountsOnlyFoldersThatAreThere) {
  watchFolders({"~", "/no/such/folder"});
  desktop.localizedStrings.texts["STATUS_BUT"] = "%@, but %@";
  desktop.localizedStrings.texts["STATUS_NOT_THERE_ONE"] = "%@ is not there";
  launch();
  EXPECT_EQ(toolTip(), "<STATUS_WATCHING_ONE>, but /no/such/folder is not there");
}

TEST_F(AgentFace, SaysAtTheFirstVerdictThatTheEngineIsBack) {
  launch();
  agent().face().setEngineMissing(true);
  agent().mainMenu().tellStatus();
  ASSERT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
  agent().face().verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentFace, AsksForPatienceWhileTheEngineLoads) {
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

TEST_F(AgentFace, SaysThatNothingIsWatchedAfterAStop) {
  launch();
  agent().stopWatcher();
  EXPECT_EQ(toolTip(), "<STATUS_IDLE>");
  EXPECT_TRUE(desktop.dockTile.watchedFolders().empty());
}

TEST_F(AgentFace, SaysThatThereIsNoEngineUntilOneIsFound) {
  desktop.preferenceStore.remove("PathToClamav");
  launch();
  EXPECT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
  desktop.preferenceStore.set("PathToClamav", engine());
  agent().startWatcher();
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentFace, SaysThatThereIsNoEngineWhenTheScannerProgramIsMissing) {
  std::filesystem::remove(engine() + "/bin/clamdscan");
  launch();
  EXPECT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
}

TEST_F(AgentFace, SaysThatThereIsNoEngineWhenAScannerFindsItGone) {
  launch();
  ScannerLink(agent()).noEnginePanic("/engine/bin/clamdscan");
  EXPECT_EQ(desktop.mainInterface.noEngineWindow.message(), "<ENGINE_SCANNER_FAILED>");
  EXPECT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
}

TEST_F(AgentFace, DoesNotWaitForeverWhenAStartFails) {
  threads.refused = {"FSEventWatcher"};
  launch();
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentFace, ListsVerdictsOnlyWhereThereIsADockTile) {
  launch();
  agent().face().verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_TRUE(desktop.dockTile.verdicts().empty());
}

TEST_F(AgentFace, ListsVerdictsInTheDockTile) {
  desktop.preferenceStore.set("ShowDockIcon", "both");
  launch();
  agent().face().verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_EQ(desktop.dockTile.verdicts().size(), 1U);
}

TEST_F(AgentFace, IsShownWithItsLastVerdictsWhenTheProgramIsStartedAgain) {
  launch();
  agent().face().verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_EQ(desktop.application.reopen(), 0);
  EXPECT_EQ(desktop.application.activations, 1);
  EXPECT_EQ(desktop.application.transformations, 0);
  EXPECT_EQ(desktop.dockTile.verdicts().size(), 1U);
}

TEST_F(AgentFace, SaysWhyItCannotBeShownWhenTheProgramIsStartedAgain) {
  desktop.application.activateResult = 95;
  launch();
  EXPECT_EQ(desktop.application.reopen(), 95);
  EXPECT_TRUE(log().has("Could not bring the application to front. Error 95"));
}

TEST_F(AgentFace, LooksAgainForAMissingEngineWhenTheProgramIsStartedAgain) {
  desktop.preferenceStore.remove("PathToClamav");
  launch();
  ASSERT_EQ(toolTip(), "<STATUS_NO_ENGINE>");
  desktop.preferenceStore.set("PathToClamav", engine());
  EXPECT_EQ(desktop.application.reopen(), 0);
  EXPECT_EQ(toolTip(), "Watching 2 folders");
}

TEST_F(AgentFace, DoesNotStartToWatchAnewForBeingStartedAgain) {
  launch();
  log().clear();
  desktop.application.reopen();
  EXPECT_FALSE(log().has("restartWatcher"));
}

TEST_F(AgentFace, ListsNoVerdictsInADockTileThatCannotBeShown) {
  desktop.preferenceStore.set("ShowDockIcon", "both");
  desktop.application.transformResult = -606;
  launch();
  agent().face().verdictGiven(Verdict::parse("/a: OK"));
  EXPECT_TRUE(desktop.dockTile.verdicts().empty());
}

}  // namespace
}  // namespace quillo
