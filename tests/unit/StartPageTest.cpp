#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "companion/start/StartPage.h"
#include "posix/FileFacts.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Doubt = ChosenFolders::Doubt;

struct FakeChoices final : FirstChoices {
  std::vector<std::string> suggestedFolders() override { return {"/home/anna/Downloads", "/srv"}; }
  Wording write(const FirstChoice& choice) override {
    written.push_back(choice);
    return problem;
  }
  std::string writtenBefore() override { return before; }
  std::vector<FirstChoice> written;
  std::string before;
  Wording problem;
};

struct FakeDefinitions final : FirstDefinitions {
  State state() override { return now; }
  void start() override { ++starts; }
  void observe(std::function<void()> changed) override { onChange = std::move(changed); }
  State now;
  int starts = 0;
  std::function<void()> onChange;
};

struct NoAgent final : SelfTestEvidence {
  Facts facts() override { return {}; }
  void abandon(const std::string&, std::int64_t) override {}
  std::optional<Find> findOf(const std::string&, std::int64_t) override { return std::nullopt; }
};

class StartPageTest : public testing::Test {
 protected:
  void press(const std::string& button, int times = 1) {
    for (int i = 0; i < times; ++i) {
      ui.press(button);
    }
  }
  // The one box that is seen.
  std::string step() const {
    std::string seen;
    for (const char* box : {"stepFolders", "stepAction", "stepDefinitions", "stepTest"}) {
      seen += ui.isVisible(box) ? box : "";
    }
    return seen;
  }

  FakeApplication application;
  ManualClock clock;
  FakeLocalizedStrings strings;
  FakeThreads threads;
  NoAgent evidence;
  FakeChoices choices;
  FakeDefinitions definitions;
  std::string doubtful;  // the folder of which there is something to say
  Doubt doubt = Doubt::none;
  std::string missed;
  bool agentStarts = true;
  int agentStarted = 0;
  int ended = 0;
  FakePage ui{"start"};
  FakeMainWindow window;
  StartPage page{
      ui,
      window,
      {strings,
       choices,
       definitions,
       {application, clock, strings, threads, evidence, [] { return std::vector<std::string>(); }},
       [this] {
         ++agentStarted;
         return agentStarts;
       },
       [this](const std::string& path, const std::vector<std::string>& before) {
         const bool isThere = std::find(before.begin(), before.end(), path) != before.end();
         const Doubt usual = !path.starts_with('/') ? Doubt::notAbsolute
                             : isThere              ? Doubt::already
                                                    : Doubt::none;
         return ChosenFolders::Concern{path == doubtful ? doubt : usual, ""};
       },
       [this](const std::string& folder) { return folder == doubtful ? missed : ""; }},
      [this] { ++ended; }};
};

TEST_F(StartPageTest, GoesThroughItsStepsAndWritesAfterTheSecond) {
  EXPECT_EQ(step(), "stepFolders");
  press("next");
  EXPECT_EQ(step(), "stepAction");
  EXPECT_TRUE(choices.written.empty());
  press("next");
  EXPECT_EQ(step(), "stepDefinitions");
  ASSERT_EQ(choices.written.size(), 1U);
  EXPECT_EQ(agentStarted, 1);
  press("next");
  EXPECT_EQ(step(), "stepTest");
  press("next");
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(choices.written.size(), 1U);
}

TEST_F(StartPageTest, DownloadsAreGuardedAndFilesLeftInPlaceUnlessChosenOtherwise) {
  press("next", 2);
  ASSERT_EQ(choices.written.size(), 1U);
  EXPECT_EQ(choices.written[0].folders, std::vector<std::string>{"/home/anna/Downloads"});
  EXPECT_EQ(choices.written[0].action, InfectedFileAction::leaveInPlace);
}

TEST_F(StartPageTest, FoldersAreAddedInEveryWayAndOnce) {
  ui.choose("suggestions", 1);
  press("addSuggestion", 2);
  press("addFolder");
  window.choosePaths({"/data/"});
  ui.drop("folders", {"/more", "relative", "/data"});
  ui.choose("folders", 0);
  press("removeFolder");
  press("next", 2);
  EXPECT_EQ(choices.written.at(0).folders, (std::vector<std::string>{"/srv", "/data", "/more"}));
}

TEST_F(StartPageTest, FolderThatCannotBeGuardedIsNotTakenAndItIsSaidWhy) {
  doubtful = "/gone";
  doubt = Doubt::missing;
  ui.drop("folders", {"/gone", "/data"});
  EXPECT_EQ(ui.text("problem"), "<FOLDERS_MISSING>");
  EXPECT_TRUE(ui.isVisible("problem"));
  press("next", 2);
  EXPECT_EQ(choices.written.at(0).folders,
            (std::vector<std::string>{"/home/anna/Downloads", "/data"}));
}

TEST_F(StartPageTest, WholeHomeOrMachineIsTakenOnceItsUserAgrees) {
  doubtful = "/home/anna";
  doubt = Doubt::homeFolder;
  ui.drop("folders", {"/home/anna"});
  window.answer("<FOLDERS_CANCEL>");
  EXPECT_EQ(ui.choices("folders").size(), 1U);
  ui.drop("folders", {"/home/anna"});
  window.answer("<FOLDERS_GUARD_ALL>");
  EXPECT_EQ(ui.choices("folders").size(), 2U);
}

TEST_F(StartPageTest, WhatIsMissedInAFolderIsSaid) {
  doubtful = "/net";
  missed = "/net: elsewhere";
  ui.drop("folders", {"/net"});
  EXPECT_EQ(ui.text("problem"), "/net: elsewhere");
  EXPECT_EQ(ui.choices("folders").size(), 2U);
}

TEST_F(StartPageTest, WhoHasPreferencesIsShownWhatIsLeftToDo) {
  strings.texts["START_ALREADY"] = "there: %@";
  choices.before = "/etc/x.toml";
  window.show("start");
  EXPECT_EQ(step(), "stepDefinitions");
  EXPECT_EQ(ui.text("problem"), "there: /etc/x.toml");
  press("next");
  EXPECT_EQ(step(), "stepTest");
  press("next");
  EXPECT_EQ(ended, 1);
  window.show("start");
  EXPECT_EQ(step(), "stepDefinitions");
  EXPECT_TRUE(choices.written.empty());
}

TEST_F(StartPageTest, WithoutAFolderItDoesNotGoOn) {
  press("removeFolder");
  press("next");
  EXPECT_EQ(step(), "stepFolders");
  EXPECT_EQ(ui.text("problem"), "<START_NO_FOLDERS>");
}

TEST_F(StartPageTest, ChosenActionIsTheLastOneChosen) {
  press("next");
  ui.check("quarantine", true);
  ui.check("moveToTrash", true);
  EXPECT_FALSE(ui.isChecked("quarantine"));
  EXPECT_FALSE(ui.isChecked("leaveInPlace"));
  press("next");
  EXPECT_EQ(choices.written.at(0).action, InfectedFileAction::moveToTrash);
}

TEST_F(StartPageTest, ChoicesSurviveGoingBack) {
  press("next");
  ui.check("quarantine", true);
  press("back");
  EXPECT_EQ(step(), "stepFolders");
  press("next", 2);
  EXPECT_EQ(choices.written.at(0).action, InfectedFileAction::quarantine);
}

TEST_F(StartPageTest, CancelledBeforeTheEndItWritesNothing) {
  press("cancel");
  EXPECT_EQ(ended, 1);
  press("next");
  press("cancel");
  EXPECT_EQ(ended, 2);
  EXPECT_TRUE(choices.written.empty());
  EXPECT_EQ(agentStarted, 0);
}

TEST_F(StartPageTest, WhatCannotBeWrittenIsSaidAndCanBeTriedAgain) {
  choices.problem = {"START_NOT_WRITTEN", {"disk full"}};
  press("next", 2);
  EXPECT_EQ(step(), "stepAction");
  EXPECT_EQ(ui.text("problem"), "<START_NOT_WRITTEN>");
  EXPECT_EQ(agentStarted, 0);
  choices.problem = {};
  press("next");
  EXPECT_EQ(step(), "stepDefinitions");
}

TEST_F(StartPageTest, WhatIsWrittenIsNeitherTakenBackNorWrittenAnew) {
  press("next", 2);
  EXPECT_FALSE(ui.isEnabled("back"));
  EXPECT_FALSE(ui.isEnabled("cancel"));
}

TEST_F(StartPageTest, AgentThatCannotBeStartedIsSaid) {
  agentStarts = false;
  press("next", 2);
  EXPECT_EQ(ui.text("problem"), "<START_NO_AGENT>");
  EXPECT_EQ(step(), "stepDefinitions");
}

TEST_F(StartPageTest, DefinitionsShowTheirProgress) {
  press("next", 2);
  press("updateDefinitions");
  EXPECT_EQ(definitions.starts, 1);
  definitions.now = {true, 5, 10, "downloading"};
  definitions.onChange();
  EXPECT_EQ(ui.progress("definitionsProgress"), (std::pair<std::uint64_t, std::uint64_t>{5, 10}));
  EXPECT_EQ(ui.text("definitionsState"), "downloading");
  EXPECT_FALSE(ui.isEnabled("updateDefinitions"));
  definitions.now = {false, 0, 0, "offline"};
  definitions.onChange();
  EXPECT_FALSE(ui.isVisible("definitionsProgress"));
  press("next");
  EXPECT_EQ(step(), "stepTest");
}

class FirstChoicesTest : public testing::Test {
 protected:
  FirstChoicesTest() {
    folders.home = home.path();
    folders.resources = QUILLO_SOURCE_DIR "/resources";
    store.folder = home.at(".config/vantrel");
  }
  FirstChoicesFile choices() {
    return FirstChoicesFile({folders, store, [this](const std::string& engine) {
                               engines.push_back(engine);
                               return engineProblem;
                             }});
  }
  std::string written() const {
    return TemporaryFolder::read(home.at(".config/vantrel/org.vantrel.Vantrel.toml"));
  }

  TemporaryFolder home;
  FakeFolders folders;
  FakePreferenceStore store;
  std::vector<std::string> engines;
  std::string engineProblem;
};

TEST_F(FirstChoicesTest, AreWrittenAsWholePreferencesOnceThereIsAnEngine) {
  EXPECT_EQ(choices().write({{home.at("Documents")}, InfectedFileAction::quarantine}).key, "");
  EXPECT_EQ(engines, std::vector<std::string>{home.at(".local/share/vantrel/engine")});
  EXPECT_NE(written().find("\npathName = \"~/Documents\"\n"), std::string::npos) << written();
  EXPECT_NE(written().find("\nQuilloQuarantineFiles = true\n"), std::string::npos);
  EXPECT_TRUE(isFolderItself(home.at("Library/Logs")));
}

TEST_F(FirstChoicesTest, AreNotWrittenWithoutAnEngine) {
  engineProblem = "no ClamAV";
  const Wording problem = choices().write({{"/a"}});
  EXPECT_EQ(problem.key, "START_NO_ENGINE");
  EXPECT_EQ(problem.values, std::vector<std::string>{"no ClamAV"});
  EXPECT_EQ(written(), "");
}

TEST_F(FirstChoicesTest, LeavePreferencesAloneThatAreThereByThen) {
  store.set("PathToClamav", "/engine");
  EXPECT_EQ(choices().write({{"/a"}}).key, "START_HAS_PREFERENCES");
  EXPECT_EQ(choices().writtenBefore(), home.at(".config/vantrel/org.vantrel.Vantrel.toml"));
  EXPECT_EQ(written(), "");
  store.remove("PathToClamav");
  // A link counts, wherever it leads to.
  std::filesystem::create_directories(home.at(".config/vantrel"));
  home.link(".config/vantrel/org.vantrel.Vantrel.toml", home.at("elsewhere"));
  EXPECT_EQ(choices().write({{"/a"}}).key, "START_NOT_WRITTEN");
  EXPECT_FALSE(TemporaryFolder::exists(home.at("elsewhere")));
}

TEST_F(FirstChoicesTest, MissingTemplateIsSaidBeforeAnythingIsMade) {
  folders.resources = "/no/such";
  EXPECT_EQ(choices().write({{"/a"}}).key, "START_NO_TEMPLATE");
  EXPECT_TRUE(engines.empty());
}

TEST_F(FirstChoicesTest, SuggestFoldersThatAreThereDownloadsFirst) {
  home.makeFolder("Documents");
  home.makeFolder("Downloads");
  home.makeFolder(".hidden");
  home.write("file");
  EXPECT_EQ(choices().suggestedFolders(),
            (std::vector<std::string>{home.at("Downloads"), home.at("Documents"), home.path()}));
}

}  // namespace
}  // namespace quillo
