#include <gtest/gtest.h>

#include "companion/folders/FoldersPage.h"
#include "tests/fakes/desktop/PreferencePagesFixture.h"

namespace quillo {
namespace {

using Names = std::vector<std::string>;

class FoldersPageTest : public PreferencePagesFixture {
 protected:
  FakePage& shown() {
    made_.emplace(
        page_, window,
        FoldersPage::Services{changes,
                              chosenFolders,
                              exclusions,
                              {preferences, folders, trash, [] { return std::vector<Mount>(); }},
                              strings,
                              agent,
                              center,
                              [this](const ChosenFolder& folder) {
                                return CareInWords{folder.withSubdirs && folder.path != incomplete,
                                                   "care of " + folder.path};
                              },
                              [this] { return agentWatches; }});
    window.show("folders");
    return page_;
  }
  FoldersPage& pageLogic() { return *made_; }
  bool agentWatches = true;
  std::string incomplete;  // the folder in which something is missed
  Names paths() const {
    Names all;
    for (const ChosenFolder& folder : chosenFolders.all()) {
      all.push_back(folder.path);
    }
    return all;
  }

 private:
  FakePage page_{"folders"};
  std::optional<FoldersPage> made_;
};

TEST_F(FoldersPageTest, ListsEachFolderWithWhatIsCaughtThere) {
  writeOwn(
      "[[QuilloFolderArray]]\npathName = '~/docs'\nWatchSubdirs = true\n"
      "[[QuilloFolderArray]]\npathName = '/srv'\n");
  FakePage& page = shown();
  ASSERT_EQ(page.rowCount("folders"), 2U);
  EXPECT_EQ(page.row("folders", 0).cells,
            (Names{"~/docs", "<FOLDERS_YES>", "care of " + home.at("docs")}));
  EXPECT_EQ(page.row("folders", 0).sign, TableRows::Sign::good);
  EXPECT_EQ(page.row("folders", 1).cells.at(1), "<FOLDERS_NO>");
  EXPECT_EQ(page.row("folders", 1).sign, TableRows::Sign::warning);
}

TEST_F(FoldersPageTest, AddsWhatIsDroppedOrChosen) {
  FakePage& page = shown();
  page.drop("folders", {home.makeFolder("a"), home.makeFolder("b")});
  page.press("addFolder");
  window.choosePaths({home.makeFolder("c")});
  EXPECT_EQ(paths(), (Names{home.at("a"), home.at("b"), home.at("c")}));
  EXPECT_EQ(page.rowCount("folders"), 3U);
  EXPECT_TRUE(window.questions.empty());
}

TEST_F(FoldersPageTest, SaysOfEachFolderWhyItIsNotAdded) {
  strings.texts["FOLDERS_COVERED"] = "%@ in %@";
  strings.texts["FOLDERS_MISSING"] = "no %@";
  writeOwn("[[QuilloFolderArray]]\npathName = '~/docs'\nWatchSubdirs = true\n");
  home.makeFolder("docs/deep");
  FakePage& page = shown();
  page.drop("folders", {home.at("docs/deep"), home.at("none"), home.makeFolder("new")});
  EXPECT_EQ(page.text("notice"), home.at("docs/deep") + " in " + home.at("docs") + "\nno " +
                                     home.at("none") + "\n<FOLDERS_ADDED>");
  EXPECT_EQ(paths(), (Names{home.at("docs"), home.at("new")}));
}

TEST_F(FoldersPageTest, AsksBeforeItAddsTheHomeFolderOrEverything) {
  FakePage& page = shown();
  page.drop("folders", {home.path(), "/", home.makeFolder("a")});
  ASSERT_EQ(window.questions.size(), 1U);
  window.answer("<FOLDERS_CANCEL>");
  ASSERT_EQ(window.questions.size(), 2U);
  EXPECT_EQ(window.questions.at(1).text, "<FOLDERS_ASK_EVERYTHING>");
  EXPECT_EQ(paths(), Names());
  window.answer("<FOLDERS_GUARD_ALL>");
  EXPECT_EQ(paths(), (Names{"/"}));
}

TEST_F(FoldersPageTest, ChangesAndRemovesTheSelectedFolder) {
  writeOwn(
      "[[QuilloFolderArray]]\npathName = '/a'\nWatchSubdirs = true\n"
      "[[QuilloFolderArray]]\npathName = '/b'\nWatchSubdirs = true\n");
  FakePage& page = shown();
  EXPECT_FALSE(page.isEnabled("removeFolder"));
  page.select("folders", {1});
  EXPECT_TRUE(page.isChecked("withSubfolders"));
  page.check("withSubfolders", false);
  EXPECT_FALSE(chosenFolders.all().at(1).withSubdirs);
  page.select("folders", {0});
  page.press("removeFolder");
  EXPECT_EQ(paths(), Names{"/b"});
  page.press("undo");
  EXPECT_EQ(paths(), (Names{"/a", "/b"}));
}

TEST_F(FoldersPageTest, AddsWhatIsDroppedTogetherAtOnceAndTakesItBackAtOnce) {
  FakePage& page = shown();
  page.drop("folders", {home.makeFolder("a"), home.makeFolder("a/b"), home.makeFolder("c")});
  EXPECT_EQ(restarts(), 1);
  EXPECT_EQ(page.text("notice"), "<FOLDERS_COVERED>\n<FOLDERS_ADDED>\n<FOLDERS_ADDED>");
  page.press("undo");
  EXPECT_EQ(paths(), Names());
}

TEST_F(FoldersPageTest, SaysOfAFolderThatIsAddedWhetherItIsGuardedNow) {
  strings.texts["FOLDERS_ADDED"] = "guarded %@";
  FakePage& page = shown();
  page.drop("folders", {home.makeFolder("a")});
  EXPECT_EQ(page.text("notice"), "guarded " + home.at("a"));
  incomplete = home.makeFolder("b");
  page.drop("folders", {incomplete});
  EXPECT_EQ(page.text("notice"), "<FOLDERS_ADDED_INCOMPLETE>");
  agentWatches = false;
  page.drop("folders", {home.makeFolder("c")});
  EXPECT_EQ(page.text("notice"), "<FOLDERS_ADDED_UNGUARDED>");
}

TEST_F(FoldersPageTest, UndoesNoChangeOfTheSettings) {
  FakePage& page = shown();
  page.drop("folders", {home.makeFolder("a")});
  EXPECT_TRUE(page.isEnabled("undo"));
  changes.set("multiscan", {std::string("yes")});
  EXPECT_FALSE(page.isEnabled("undo"));
  exclusions.addExclusions({{"x", false}});
  changes.set("multiscan", {std::string("yes")});  // what changes nothing leaves what can be undone
  EXPECT_TRUE(page.isEnabled("undo"));
}

TEST_F(FoldersPageTest, SaysThatAChangeHoldsOnlyOnceTheAgentRunsAndStartsIt) {
  agent.become(std::nullopt);
  FakePage& page = shown();
  EXPECT_EQ(page.text("guardNote"), "<SETTINGS_NO_AGENT>");
  page.press("startGuarding");
  EXPECT_EQ(agent.starts, 1);
  agentIs("watching");
  pageLogic().agentChanged();
  EXPECT_FALSE(page.isVisible("guardNote"));
}

TEST_F(FoldersPageTest, SaysThatAChangeWasMadeBesideOneByHand) {
  FakePage& page = shown();
  writeOwn("multiscan = 'yes'\n");
  page.drop("folders", {home.makeFolder("a")});
  EXPECT_EQ(page.text("notice"), "<FOLDERS_ADDED>\n<SETTINGS_MERGED>");
}

TEST_F(FoldersPageTest, KeepsTheFolderSelectedAndNotTheRow) {
  const std::string a = "[[QuilloFolderArray]]\npathName = '/a'\n";
  const std::string b = "[[QuilloFolderArray]]\npathName = '/b'\n";
  const std::string other = "[[QuilloFolderArray]]\npathName = '/other'\n";
  writeOwn(a + b);
  FakePage& page = shown();
  page.select("folders", {0});
  writeOwn(other + a);
  window.show("folders");
  EXPECT_EQ(page.selectedRows("folders"), std::vector<std::size_t>{1});
  writeOwn(other + b);
  window.show("folders");
  EXPECT_TRUE(page.selectedRows("folders").empty());
}

TEST_F(FoldersPageTest, NamesTheFileThatDecides) {
  writeAbove("QuilloFolderArray = []\n");
  FakePage& page = shown();
  EXPECT_FALSE(page.isEnabled("addFolder"));
  EXPECT_EQ(page.text("decided"), "<SETTINGS_DECIDED_ABOVE>");
  EXPECT_TRUE(page.isVisible("decided"));
}

TEST_F(FoldersPageTest, NoticesWhatWasWrittenByHandWhenItIsShown) {
  FakePage& page = shown();
  writeOwn("[[QuilloFolderArray]]\npathName = '/by/hand'\n");
  window.show("folders");
  EXPECT_EQ(page.rowCount("folders"), 1U);
  EXPECT_EQ(page.text("notice"), "<SETTINGS_CHANGED_BY_HAND>");
}

TEST_F(FoldersPageTest, ShowsThatTheFileCannotBeRead) {
  writeOwn("x = \n");
  FakePage& page = shown();
  EXPECT_EQ(page.text("problem"), "<SETTINGS_FILE_BROKEN_AT>");
  page.drop("folders", {home.makeFolder("a")});
  EXPECT_EQ(page.text("notice"), "<SETTINGS_FILE_BROKEN>");
  EXPECT_EQ(ownText(), "x = \n");
}

TEST_F(FoldersPageTest, LeadsToTheRepairOfAFileThatCannotBeRead) {
  FakePage& page = shown();
  EXPECT_FALSE(page.isVisible("openSettings"));
  writeOwn("x = \n");
  window.show("folders");
  page.press("openSettings");
  EXPECT_EQ(window.shownPage(), "settings");
}

TEST_F(FoldersPageTest, AddsChangesAndRemovesExclusions) {
  FakePage& page = shown();
  page.write("pattern", ".iso");
  page.press("addPattern");
  ASSERT_EQ(page.rowCount("exclusions"), 1U);
  EXPECT_EQ(page.text("pattern"), "");
  EXPECT_EQ(page.row("exclusions", 0).cells, (Names{".iso", "<FOLDERS_TEXT>", "<FOLDERS_YES>"}));
  page.select("exclusions", {0});
  page.write("pattern", "\\.iso$");
  page.check("isExpression", true);
  page.check("isInUse", false);
  page.press("changePattern");
  EXPECT_EQ(page.row("exclusions", 0).cells,
            (Names{"\\.iso$", "<FOLDERS_EXPRESSION>", "<FOLDERS_NO>"}));
  page.press("removePattern");
  EXPECT_EQ(page.rowCount("exclusions"), 0U);
}

TEST_F(FoldersPageTest, SaysWhatAnExclusionDoesOnceItIsAdded) {
  strings.texts["FOLDERS_PATTERN_ADDED"] = "text %@";
  strings.texts["FOLDERS_EXPRESSION_ADDED"] = "expression %@";
  strings.texts["FOLDERS_PATTERN_NOT_IN_USE"] = "unused %@";
  FakePage& page = shown();
  page.write("pattern", ".iso");
  page.press("addPattern");
  EXPECT_EQ(page.text("notice"), "text .iso");
  EXPECT_TRUE(page.isVisible("notice"));
  EXPECT_TRUE(page.isEnabled("undo"));
  page.write("pattern", "\\.img$");
  page.check("isExpression", true);
  page.press("addPattern");
  EXPECT_EQ(page.text("notice"), "expression \\.img$");
  page.write("pattern", "x");
  page.check("isInUse", false);
  page.press("addPattern");
  EXPECT_EQ(page.text("notice"), "unused x");
  page.press("undo");
  EXPECT_FALSE(page.isVisible("notice"));
}

TEST_F(FoldersPageTest, SaysWhyAnExclusionCouldNotBeAdded) {
  FakePage& page = shown();
  page.write("pattern", ".iso");
  writeOwn("x = \n");
  page.press("addPattern");
  EXPECT_TRUE(page.isVisible("notice"));
  EXPECT_EQ(page.text("notice").find("FOLDERS_PATTERN_ADDED"), std::string::npos);
  EXPECT_EQ(page.text("pattern"), ".iso");
  EXPECT_EQ(ownText(), "x = \n");
}

TEST_F(FoldersPageTest, SaysOfEachPatternWhatItWouldDo) {
  writeOwn(
      "[[QuilloFolderArray]]\npathName = '/srv/docs'\n[[ExcludePatterns]]\n"
      "excludePattern = 'known'\nexcludeEnabled = true\n");
  FakePage& page = shown();
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""},
      {"harmless", ""},
      {"known", "<FOLDERS_PATTERN_ALREADY>"},
      {"\xFF", "<FOLDERS_PATTERN_NO_TEXT>"},
      {"/srv/docs/", "<FOLDERS_PATTERN_WHOLE_FOLDER>"},
      {"/", "<FOLDERS_PATTERN_EVERYTHING>"}};
  for (const auto& [pattern, words] : cases) {
    page.write("pattern", pattern);
    EXPECT_EQ(page.text("patternNote"), words) << pattern;
  }
}

TEST_F(FoldersPageTest, AddsNoEmptyPatternWhoeverAsksForIt) {
  FakePage page{"folders"};
  std::vector<std::string> reported;
  ExclusionList list(page, window, {exclusions, strings, [&](const Wording& words) {
                                      reported.push_back(words.key);
                                    }});
  list.add({"", false});
  EXPECT_EQ(reported, std::vector<std::string>{"FOLDERS_PATTERN_EMPTY"});
  EXPECT_TRUE(exclusions.all().empty());
}

TEST_F(FoldersPageTest, SaysWhatIsWrongWithAPatternWhileItIsWritten) {
  strings.texts["FOLDERS_PATTERN_BROKEN"] = "broken: %@";
  FakePage& page = shown();
  EXPECT_FALSE(page.isEnabled("addPattern"));
  page.write("pattern", "(");
  EXPECT_TRUE(page.isEnabled("addPattern"));
  page.check("isExpression", true);
  EXPECT_EQ(page.text("patternNote").rfind("broken: ", 0), 0U);
  EXPECT_NE(page.text("patternNote"), "broken: ");
  EXPECT_FALSE(page.isEnabled("addPattern"));
}

TEST_F(FoldersPageTest, ShowsAnExpressionOfTheFileThatHasNoEffect) {
  writeOwn(
      "[[ExcludePatterns]]\nexcludePattern = '('\nexcludeEnabled = true\n"
      "excludeRegEx = true\n");
  FakePage& page = shown();
  EXPECT_EQ(page.row("exclusions", 0).cells.at(2), "<FOLDERS_WITHOUT_EFFECT>");
  EXPECT_EQ(page.row("exclusions", 0).sign, TableRows::Sign::warning);
}

TEST_F(FoldersPageTest, AsksTwiceBeforeEverythingIsExcluded) {
  FakePage& page = shown();
  page.write("pattern", "/");
  page.press("addPattern");
  window.answer("<FOLDERS_EXCLUDE>");
  EXPECT_EQ(page.rowCount("exclusions"), 0U);
  window.answer("<FOLDERS_CANCEL>");
  EXPECT_EQ(page.rowCount("exclusions"), 0U);
  page.press("addPattern");
  window.answer("<FOLDERS_CANCEL>");
  EXPECT_EQ(window.questions.size(), 3U);
  page.press("addPattern");
  window.answer("<FOLDERS_EXCLUDE>");
  window.answer("<FOLDERS_EXCLUDE_ALL_THE_SAME>");
  EXPECT_EQ(page.rowCount("exclusions"), 1U);
}

TEST_F(FoldersPageTest, AsksAsWellBeforeAPatternIsChangedSoThatItExcludesAGuardedFolder) {
  writeOwn(
      "[[QuilloFolderArray]]\npathName = '~/docs'\n[[ExcludePatterns]]\n"
      "excludePattern = 'x'\nexcludeEnabled = true\n");
  FakePage& page = shown();
  page.select("exclusions", {0});
  page.write("pattern", "~/docs/");
  page.press("changePattern");
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_EQ(window.questions.at(0).text, "<FOLDERS_PATTERN_WHOLE_FOLDER>");
  window.answer("<FOLDERS_CANCEL>");
  EXPECT_EQ(exclusions.all().at(0).text, "x");
}

TEST_F(FoldersPageTest, TestsAPathThatIsWrittenDroppedOrChosen) {
  writeOwn("[[QuilloFolderArray]]\npathName = '~/docs'\nWatchSubdirs = true\n");
  home.write("docs/a");
  FakePage& page = shown();
  page.write("testPath", "~/docs/a");
  page.press("test");
  EXPECT_EQ(page.text("verdictTitle"), "<FOLDERS_GUARDED>");
  EXPECT_EQ(page.text("verdict"), "<FOLDERS_RULE_GUARDED>");
  page.drop("testPath", {home.at("elsewhere")});
  EXPECT_EQ(page.text("verdictTitle"), "<FOLDERS_NOT_GUARDED>");
  EXPECT_EQ(page.text("verdict"), "<FOLDERS_RULE_OUTSIDE>\n<FOLDERS_RULE_NOT_THERE>");
  page.press("chooseTest");
  window.choosePaths({home.at("docs/a")});
  EXPECT_EQ(page.text("verdictTitle"), "<FOLDERS_GUARDED>");
}

TEST_F(FoldersPageTest, TestsNoPathWhoseBeginningItDoesNotKnow) {
  FakePage& page = shown();
  page.write("testPath", "docs/a");
  page.press("test");
  EXPECT_EQ(page.text("verdict"), "<FOLDERS_TEST_WHOLE_PATH>");
  EXPECT_EQ(page.text("verdictTitle"), "");
}

TEST_F(FoldersPageTest, SaysOfNoPathThatItIsGuardedWhileNobodyWatches) {
  agentWatches = false;
  writeOwn("[[QuilloFolderArray]]\npathName = '~/docs'\nWatchSubdirs = true\n");
  home.write("docs/a");
  FakePage& page = shown();
  page.drop("testPath", {home.at("docs/a")});
  EXPECT_EQ(page.text("verdictTitle"), "<FOLDERS_NOT_GUARDED>");
  EXPECT_EQ(page.text("verdict"), "<FOLDERS_RULE_GUARDED>\n<FOLDERS_RULE_NO_AGENT>");
}

TEST_F(FoldersPageTest, SaysAnewWhetherAFileIsGuardedWhenTheAgentStops) {
  writeOwn("[[QuilloFolderArray]]\npathName = '~/docs'\nWatchSubdirs = true\n");
  home.write("docs/a");
  FakePage& page = shown();
  page.drop("testPath", {home.at("docs/a")});
  EXPECT_EQ(page.text("verdictTitle"), "<FOLDERS_GUARDED>");
  agentWatches = false;
  pageLogic().agentChanged();
  EXPECT_EQ(page.text("verdictTitle"), "<FOLDERS_NOT_GUARDED>");
}

TEST_F(FoldersPageTest, LeavesAloneWhatIsBeingTypedWhenTheAgentStops) {
  writeOwn("[[QuilloFolderArray]]\npathName = '~/docs'\nWatchSubdirs = true\n");
  home.write("docs/a");
  FakePage& page = shown();
  page.drop("testPath", {home.at("docs/a")});
  page.setText("testPath", "/tm");
  agentWatches = false;
  pageLogic().agentChanged();
  EXPECT_EQ(page.text("testPath"), "/tm");
}

}  // namespace
}  // namespace quillo
