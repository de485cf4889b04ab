#include <gtest/gtest.h>

#include "tests/fakes/companion/SettingsPageFixture.h"

namespace quillo {
namespace {

using Names = std::vector<std::string>;
using Posted = std::vector<std::pair<std::string, std::string>>;
using SettingsPageTest = SettingsPageFixture;

TEST_F(SettingsPageTest, ShowsWhatHolds) {
  writeOwn(
      "QuilloScanVolumes = true\nQuilloCatchUp = true\nmultiscan = 'yes'\nShowDockIcon = 'both'\n"
      "QuilloQuarantineFiles = true\nQuarantineFolder = '~/Q/'\n"
      "rotateScanlogWhenSizeReaches = 77\nPathToClamav = '/opt/clam'\n");
  FakePage& page = shown();
  EXPECT_TRUE(page.isChecked("scanVolumes"));
  EXPECT_TRUE(page.isChecked("catchUp"));
  EXPECT_TRUE(page.isChecked("scanEmail"));
  EXPECT_FALSE(page.isChecked("updateDefsOnLaunch"));
  EXPECT_EQ(page.choice("infectedFileAction"), 1U);
  EXPECT_EQ(page.choice("multiscan"), 1U);
  EXPECT_EQ(page.choice("showDockIcon"), 1U);
  EXPECT_EQ(page.number("logSize"), 77);
  EXPECT_EQ(page.text("quarantineFolder"), "~/Q/");
  EXPECT_EQ(page.text("pathToClamav"), "/opt/clam");
  EXPECT_FALSE(page.isVisible("problem"));
  EXPECT_FALSE(page.isVisible("notice"));
}

TEST_F(SettingsPageTest, SaysHowManyProcessorsThisMachineHas) {
  strings.texts["SETTINGS_ALL_PROCESSORS"] = "all %@";
  EXPECT_EQ(shown().choices("multiscan").at(1), "all 8");
}

TEST_F(SettingsPageTest, WritesACheckAtOnceAndAsksTheAgentToWatchAnew) {
  writeOwn("# mine\nQuilloLogProgress = false # why\n");
  shown().check("logProgress", true);
  EXPECT_EQ(ownText(), "# mine\nQuilloLogProgress = true # why\n");
  EXPECT_EQ(center.posted, (Posted{{"VantrelQuilloShouldRestart", "Vantrel"}}));
}

TEST_F(SettingsPageTest, WritesEachChoice) {
  FakePage& page = shown();
  page.choose("multiscan", 1);
  page.choose("showDockIcon", 1);
  page.enter("logSize", 99);
  EXPECT_EQ(ownText(),
            "multiscan = \"yes\"\nShowDockIcon = \"both\"\nrotateScanlogWhenSizeReaches = 99\n");
  page.choose("multiscan", 0);
  page.choose("showDockIcon", 0);
  EXPECT_EQ(ownText(),
            "multiscan = \"no\"\nShowDockIcon = \"off\"\nrotateScanlogWhenSizeReaches = 99\n");
}

TEST_F(SettingsPageTest, WritesWhatBecomesOfInfectedFilesAsOneChoice) {
  FakePage& page = shown();
  page.choose("infectedFileAction", 1);
  EXPECT_EQ(ownText(), "QuilloQuarantineFiles = true\nQuarantineFolder = \"~/Quarantine/\"\n");
  page.choose("infectedFileAction", 2);
  EXPECT_EQ(ownText(),
            "QuilloQuarantineFiles = false\nQuarantineFolder = \"~/Quarantine/\"\n"
            "QuilloTrashFiles = true\n");
  page.choose("infectedFileAction", 0);
  EXPECT_EQ(ownText(),
            "QuilloQuarantineFiles = false\nQuarantineFolder = \"~/Quarantine/\"\n"
            "QuilloTrashFiles = false\n");
  EXPECT_EQ(restarts(), 3);
}

TEST_F(SettingsPageTest, AFailureIsShownAndTheControlGoesBack) {
  home.makeFolder("config/org.vantrel.Vantrel.toml");
  FakePage& page = shown();
  EXPECT_TRUE(page.isVisible("problem"));
  EXPECT_FALSE(page.isEnabled("controls"));
  page.check("scanVolumes", true);
  EXPECT_FALSE(page.isChecked("scanVolumes"));
  EXPECT_EQ(page.text("notice"), "<SETTINGS_FILE_NO_FILE>");
  EXPECT_EQ(restarts(), 0);
}

TEST_F(SettingsPageTest, UndoesTheLastChange) {
  writeOwn("# mine\n");
  FakePage& page = shown();
  EXPECT_FALSE(page.isEnabled("undo"));
  page.check("scanVolumes", true);
  page.press("undo");
  EXPECT_EQ(ownText(), "# mine\n");
  EXPECT_FALSE(page.isChecked("scanVolumes"));
  EXPECT_FALSE(page.isEnabled("undo"));
  EXPECT_EQ(restarts(), 2);
}

TEST_F(SettingsPageTest, NoticesWhatWasWrittenByHandWhenItIsShown) {
  writeOwn("multiscan = 'no'\n");
  FakePage& page = shown();
  writeOwn("multiscan = 'yes'\n");
  window.show("settings");
  EXPECT_EQ(page.choice("multiscan"), 1U);
  EXPECT_EQ(page.text("notice"), "<SETTINGS_CHANGED_BY_HAND>");
  window.show("settings");
  EXPECT_FALSE(page.isVisible("notice"));
}

TEST_F(SettingsPageTest, NamesTheFileThatDecidesAndLeavesItThere) {
  writeAbove("multiscan = 'yes'\nQuilloTrashFiles = true\nShowDockIcon = 'true'\n");
  FakePage& page = shown();
  EXPECT_FALSE(page.isEnabled("multiscan"));
  EXPECT_EQ(page.text("multiscanNote"), "<SETTINGS_DECIDED_ABOVE>");
  EXPECT_FALSE(page.isEnabled("infectedFileAction"));
  EXPECT_EQ(page.choice("showDockIcon"), 2U);
  EXPECT_TRUE(page.isEnabled("logSize"));
  EXPECT_FALSE(page.isVisible("logSizeNote"));
}

TEST_F(SettingsPageTest, NamesTheMachinesFileUntilTheUserChooses) {
  writeBelow("multiscan = 'yes'\nQuilloTrashFiles = true\n");
  FakePage& page = shown();
  EXPECT_EQ(page.text("multiscanNote"), "<SETTINGS_DECIDED_BELOW>");
  page.choose("multiscan", 0);
  EXPECT_EQ(page.choice("multiscan"), 0U);
  EXPECT_FALSE(page.isVisible("multiscanNote"));
  page.choose("infectedFileAction", 0);
  EXPECT_EQ(page.choice("infectedFileAction"), 0U);
  EXPECT_EQ(ownText(), "multiscan = \"no\"\nQuilloTrashFiles = false\n");
}

TEST_F(SettingsPageTest, OffersANewStartForWhatIsReadOnlyThen) {
  writeOwn("UpdateDefsOnLaunch = true\n");
  FakePage& page = shown();
  EXPECT_FALSE(page.isVisible("startAnew"));
  page.check("scanVolumes", true);
  EXPECT_FALSE(page.isVisible("startAnew"));
  page.check("updateDefsOnLaunch", false);
  EXPECT_TRUE(page.isVisible("newStartNote"));
  center.posted.clear();
  page.press("startAnew");
  EXPECT_EQ(center.posted, (Posted{{"VantrelQuilloShouldQuit", "Vantrel"}}));
  EXPECT_EQ(agent.starts, 0);
  EXPECT_EQ(page.text("newStartNote"), "<SETTINGS_NEW_START_UNDER_WAY>");
  agent.become(std::nullopt);
  logic().agentChanged();
  EXPECT_EQ(agent.starts, 1);
  EXPECT_FALSE(page.isVisible("newStartNote"));
  logic().agentChanged();
  EXPECT_EQ(agent.starts, 1);
}

TEST_F(SettingsPageTest, OffersANewStartAsWellForWhatIsUndone) {
  FakePage& page = shown();
  page.choose("infectedFileAction", 1);
  EXPECT_FALSE(page.isVisible("startAnew"));
  page.press("undo");
  EXPECT_TRUE(page.isVisible("startAnew"));
  page.choose("infectedFileAction", 2);
  EXPECT_FALSE(page.isVisible("startAnew"));
  page.check("updateDefsOnLaunch", true);
  page.press("undo");
  EXPECT_TRUE(page.isVisible("startAnew"));
  page.check("updateDefsOnLaunch", true);
  EXPECT_FALSE(page.isVisible("startAnew"));
  page.choose("showDockIcon", 1);
  EXPECT_TRUE(page.isVisible("startAnew"));
  page.press("undo");
  EXPECT_FALSE(page.isVisible("startAnew"));
}

TEST_F(SettingsPageTest, SaysThatTheAgentThatQuitForANewStartCannotBeStarted) {
  writeOwn("UpdateDefsOnLaunch = true\n");
  FakePage& page = shown();
  page.check("updateDefsOnLaunch", false);
  page.press("startAnew");
  agent.canStart = false;
  agent.become(std::nullopt);
  logic().agentChanged();
  EXPECT_EQ(page.text("guardNote"), "<SETTINGS_AGENT_MISSING>");
  EXPECT_FALSE(page.isVisible("newStartNote"));
  agent.canStart = true;
  page.press("startGuarding");
  EXPECT_EQ(agent.starts, 2);
  EXPECT_EQ(page.text("guardNote"), "<SETTINGS_NO_AGENT>");
}

TEST_F(SettingsPageTest, SaysThatAChangeHoldsOnlyOnceTheAgentRunsAndStartsIt) {
  strings.texts["SETTINGS_AGENT_FAILED"] = "failed: %@";
  agent.become(std::nullopt);
  FakePage& page = shown();
  EXPECT_EQ(page.text("guardNote"), "<SETTINGS_NO_AGENT>");
  EXPECT_FALSE(page.isVisible("intro"));
  page.press("startGuarding");
  EXPECT_EQ(agent.starts, 1);
  agent.startBecomes({true, {}});
  logic().agentChanged();
  EXPECT_EQ(page.text("guardNote"), "<SETTINGS_AGENT_STARTS>");
  EXPECT_FALSE(page.isVisible("startGuarding"));
  agent.startBecomes({false, {"", {"no memory"}}});
  logic().agentChanged();
  EXPECT_EQ(page.text("guardNote"), "failed: no memory");
  agent.become(FakeAgentLink::watching("1"));
  logic().agentChanged();
  EXPECT_FALSE(page.isVisible("guardNote"));
  EXPECT_TRUE(page.isVisible("intro"));
}

TEST_F(SettingsPageTest, DoesNotStartWatchingThatItsUserStopped) {
  agentIs("stopped");
  FakePage& page = shown();
  page.check("scanVolumes", true);
  EXPECT_EQ(restarts(), 0);
  EXPECT_EQ(page.text("guardNote"), "<SETTINGS_STOPPED>");
  page.press("startGuarding");
  EXPECT_EQ(center.posted, (Posted{{"VantrelQuilloShouldRestart", "Vantrel"}}));
  EXPECT_EQ(agent.starts, 0);
}

TEST_F(SettingsPageTest, StartsWatchingThatWantedForWhatIsChanged) {
  AgentStatus status = FakeAgentLink::watching("1");
  status.state = "stopped";
  status.attention = "noEngine";
  agent.become(status);
  FakePage& page = shown();
  page.check("scanVolumes", true);
  EXPECT_EQ(restarts(), 1);
  EXPECT_FALSE(page.isVisible("guardNote"));
}

TEST_F(SettingsPageTest, SaysThatAChangeWasMadeBesideOneByHand) {
  writeOwn("multiscan = 'no'\n");
  FakePage& page = shown();
  writeOwn("multiscan = 'yes'\n");
  page.check("scanVolumes", true);
  EXPECT_EQ(page.text("notice"), "<SETTINGS_MERGED>");
  EXPECT_EQ(page.choice("multiscan"), 1U);
  page.check("scanVolumes", false);
  EXPECT_FALSE(page.isVisible("notice"));
}

TEST_F(SettingsPageTest, UndoesNoChangeOfThePageOfFolders) {
  FakePage& page = shown();
  page.check("scanVolumes", true);
  EXPECT_TRUE(page.isEnabled("undo"));
  chosenFolders.addFolders({"/a"});
  EXPECT_FALSE(page.isEnabled("undo"));
}

TEST_F(SettingsPageTest, OffersNoNewStartWhereNoAgentRuns) {
  agent.become(std::nullopt);
  FakePage& page = shown();
  page.choose("showDockIcon", 1);
  EXPECT_FALSE(page.isVisible("startAnew"));
}

TEST_F(SettingsPageTest, WritesThePathsOfTheEngineWholeForTheAgentReadsThemSo) {
  home.write("engine/bin/clamdscan", "");
  FakePage& page = shown();
  page.write("pathToClamav", "~/engine");
  page.write("pathToUpdateLog", "/var/log/u");
  EXPECT_EQ(ownText(),
            "PathToClamav = \"" + home.at("engine") + "\"\nPathToUpdateLog = \"/var/log/u\"\n");
  page.write("pathToClamav", "engine");
  EXPECT_EQ(page.text("pathToClamav"), "~/engine");
}

TEST_F(SettingsPageTest, TakesNoFolderForTheEngineInWhichThereIsNone) {
  FakePage& page = shown();
  page.write("pathToClamav", home.makeFolder("empty"));
  EXPECT_EQ(page.text("notice"), "<SETTINGS_NO_ENGINE>");
  EXPECT_EQ(page.text("pathToClamav"), "");
  EXPECT_EQ(restarts(), 0);
}

TEST_F(SettingsPageTest, ShowsWhichSettingsAreOnlyKept) {
  strings.texts["SETTINGS_KEPT"] = "kept: %@";
  writeOwn("\"Running on OS X Server\" = true\nInclude = 'x'\n");
  EXPECT_EQ(shown().text("kept"), "kept: Running on OS X Server, Include");
}

TEST_F(SettingsPageTest, ShowsTheLineThatCannotBeReadAndRepairsItOnceAsked) {
  strings.texts["SETTINGS_FILE_BROKEN_AT"] = "%@|%@|%@";
  strings.texts["SETTINGS_REPAIRED"] = "%@|%@";
  writeOwn("multiscan = 'yes'\nQuilloScanVolumes = yes\n");
  FakePage& page = shown();
  EXPECT_EQ(page.text("problem"), writer.path() + "|2|QuilloScanVolumes = yes");
  EXPECT_FALSE(page.isEnabled("controls"));
  page.press("repair");
  window.answer("<SETTINGS_CANCEL>");
  EXPECT_EQ(ownText(), "multiscan = 'yes'\nQuilloScanVolumes = yes\n");
  page.press("repair");
  window.answer("<SETTINGS_REPAIR_NOW>");
  EXPECT_EQ(ownText(), "multiscan = 'yes'\n#QuilloScanVolumes = yes\n");
  EXPECT_EQ(page.text("notice"), writer.path() + ".broken|2");
  EXPECT_TRUE(page.isEnabled("controls"));
  EXPECT_FALSE(page.isVisible("repair"));
  EXPECT_EQ(page.choice("multiscan"), 1U);
}

TEST_F(SettingsPageTest, OpensTheFileForWhoeverWantsToEditIt) {
  FakePage& page = shown();
  page.press("openFile");
  EXPECT_EQ(workspace.opened, Names{writer.path()});
  workspace.answer = false;
  page.press("openFile");
  EXPECT_EQ(page.text("notice"), "<SETTINGS_NO_EDITOR>");
}

}  // namespace
}  // namespace quillo
