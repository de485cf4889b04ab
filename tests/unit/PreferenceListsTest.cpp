#include <gtest/gtest.h>

#include "scanning/PathPattern.h"
#include "tests/fakes/desktop/PreferencePagesFixture.h"

namespace quillo {
namespace {

using FolderDoubt = ChosenFolders::Doubt;
using PatternDoubt = Exclusions::Doubt;
using Names = std::vector<std::string>;

class ChosenFoldersTest : public PreferencePagesFixture {
 protected:
  FolderDoubt doubtAbout(const std::string& path) const {
    return chosenFolders.concernAbout(path).doubt;
  }
};

TEST_F(ChosenFoldersTest, AreWrittenAsPeopleWriteThem) {
  EXPECT_TRUE(chosenFolders.addFolders({home.at("Downloads/"), "/srv/x"}).empty());
  EXPECT_EQ(ownText(),
            "[[QuilloFolderArray]]\npathName = \"~/Downloads\"\nWatchSubdirs = true\n\n"
            "[[QuilloFolderArray]]\npathName = \"/srv/x\"\nWatchSubdirs = true\n");
  EXPECT_EQ(center.posted, (std::vector<std::pair<std::string, std::string>>{
                               {"VantrelQuilloShouldRestart", "Vantrel"}}));
}

TEST_F(ChosenFoldersTest, AreReadBackWhateverBytesTheirNamesHold) {
  const std::string odd = "/srv/r\xE9sum\xE9 \"x\"\n";
  chosenFolders.addFolders({odd});
  EXPECT_EQ(chosenFolders.all().at(0).path, odd);
  const std::string text = "/srv/é \"\\ \n";
  chosenFolders.addFolders({text});
  EXPECT_EQ(chosenFolders.all().at(1).path, text);
}

TEST_F(ChosenFoldersTest, AreAddedOnce) {
  chosenFolders.addFolders({"/a", "/a/"});
  chosenFolders.addFolders({"/a"});
  EXPECT_EQ(chosenFolders.all().size(), 1U);
}

TEST_F(ChosenFoldersTest, GrowAListThatAnotherFileBegan) {
  writeBelow("[[QuilloFolderArray]]\npathName = \"/machine\"\nWatchSubdirs = true\n");
  EXPECT_EQ(changes.fileBelow("QuilloFolderArray"), home.at("machine/org.vantrel.Vantrel.toml"));
  chosenFolders.addFolders({"/own"});
  ASSERT_EQ(chosenFolders.all().size(), 2U);
  EXPECT_EQ(chosenFolders.all().at(0).path, "/machine");
  EXPECT_EQ(changes.fileBelow("QuilloFolderArray"), "");
}

TEST_F(ChosenFoldersTest, AreNotWrittenWhereAnotherFileDecides) {
  writeAbove("QuilloFolderArray = []\n");
  const Wording problem = chosenFolders.addFolders({"/a"});
  EXPECT_EQ(problem.key, "SETTINGS_DECIDED_ABOVE");
  EXPECT_EQ(problem.values, Names{home.at("config/org.vantrel.VantrelQuillo.toml")});
  EXPECT_FALSE(TemporaryFolder::exists(writer.path()));
  EXPECT_EQ(restarts(), 0);
}

TEST_F(ChosenFoldersTest, ChangeInTheirPlaceThoughOthersCameBeforeThem) {
  chosenFolders.addFolders({"/a", "/b"});
  const ChosenFolder shown = chosenFolders.all().at(1);
  writeOwn(
      "QuilloFolderArray = [{pathName='/new', WatchSubdirs=true}, {pathName='/b', "
      "WatchSubdirs=true}, {pathName='/a', WatchSubdirs=true}]\n");
  EXPECT_TRUE(chosenFolders.setWithSubfolders(shown, 0, false).empty());
  EXPECT_EQ(chosenFolders.all().at(1).path, "/b");
  EXPECT_FALSE(chosenFolders.all().at(1).withSubdirs);
  EXPECT_TRUE(chosenFolders.all().at(0).withSubdirs);
}

TEST_F(ChosenFoldersTest, ThatAreGoneByNowAreNotChanged) {
  chosenFolders.addFolders({"/a"});
  const ChosenFolder shown = chosenFolders.all().at(0);
  writeOwn("# all gone\n[[QuilloFolderArray]]\npathName = '/b'\n");
  EXPECT_EQ(chosenFolders.remove(shown, 0).key, "SETTINGS_ENTRY_GONE");
  EXPECT_EQ(ownText(), "# all gone\n[[QuilloFolderArray]]\npathName = '/b'\n");
}

TEST_F(ChosenFoldersTest, TheLastOneCanGoAndNoOtherFileFillsTheList) {
  writeBelow("[[QuilloFolderArray]]\npathName = \"/machine\"\n");
  chosenFolders.remove(chosenFolders.all().at(0), 0);
  EXPECT_TRUE(chosenFolders.all().empty());
  EXPECT_EQ(ownText(), "QuilloFolderArray = []\n");
}

TEST_F(ChosenFoldersTest, RaiseADoubtWhereOneIsDue) {
  home.makeFolder("docs/deep");
  home.makeFolder("top/deep");
  home.makeFolder("Quarantine/in");
  home.link("link", "docs/deep");
  writeOwn(
      "QuarantineFolder = '~/Quarantine/'\n[[QuilloFolderArray]]\npathName = '~/docs'\n"
      "WatchSubdirs = true\n[[QuilloFolderArray]]\npathName = '~/top'\n");
  EXPECT_EQ(doubtAbout(home.at("docs/")), FolderDoubt::already);
  EXPECT_EQ(doubtAbout(home.at("docs/deep")), FolderDoubt::covered);
  EXPECT_EQ(doubtAbout(home.at("link")), FolderDoubt::covered);
  EXPECT_EQ(doubtAbout(home.at("top/deep")), FolderDoubt::none);
  EXPECT_EQ(doubtAbout(home.at("Quarantine")), FolderDoubt::inQuarantine);
  EXPECT_EQ(doubtAbout(home.at("Quarantine/in")), FolderDoubt::inQuarantine);
  EXPECT_EQ(doubtAbout(home.at("none")), FolderDoubt::missing);
  EXPECT_EQ(doubtAbout(home.write("file")), FolderDoubt::isFile);
  EXPECT_EQ(doubtAbout("docs"), FolderDoubt::notAbsolute);
  EXPECT_EQ(doubtAbout(home.path()), FolderDoubt::homeFolder);
  EXPECT_EQ(doubtAbout("/tmp"), FolderDoubt::homeFolder);
  EXPECT_EQ(doubtAbout("/"), FolderDoubt::everything);
}

class ExclusionsTest : public PreferencePagesFixture {
 protected:
  Exclusions::Concern concernAbout(const std::string& text, bool isRegEx) const {
    return exclusions.concernAbout({text, isRegEx});
  }
  PatternDoubt doubtAbout(const std::string& text, bool isRegEx) const {
    return concernAbout(text, isRegEx).doubt;
  }
};

TEST_F(ExclusionsTest, AreWrittenInUse) {
  EXPECT_TRUE(exclusions.addExclusions({{"\\.iso$", true}}).empty());
  EXPECT_EQ(ownText(),
            "[[ExcludePatterns]]\nexcludePattern = \"\\\\.iso$\"\nexcludeEnabled = true\n"
            "excludeRegEx = true\n");
  EXPECT_EQ(restarts(), 1);
}

TEST_F(ExclusionsTest, ThatAreThereAreOnlyPutToUse) {
  writeOwn("[[ExcludePatterns]]\nexcludePattern = 'a'\nexcludeEnabled = false\n");
  exclusions.addExclusions({{"a", false}});
  EXPECT_EQ(ownText(), "[[ExcludePatterns]]\nexcludePattern = 'a'\nexcludeEnabled = true\n");
}

TEST_F(ExclusionsTest, ThatAreThereStayAsTheyAreWhenTheyAreNotToBeUsed) {
  exclusions.addExclusions({{"a", false, false}});
  exclusions.addExclusions({{"a", false, false}});
  ASSERT_EQ(exclusions.all().size(), 1U);
  EXPECT_FALSE(exclusions.all().at(0).isEnabled);
}

TEST_F(ExclusionsTest, AreAddedTogetherAndOnce) {
  EXPECT_TRUE(exclusions.addExclusions({{"a", false}, {"b", true}, {"a", false}}).empty());
  EXPECT_EQ(exclusions.all().size(), 2U);
  EXPECT_EQ(restarts(), 1);
  EXPECT_TRUE(changes.undo().empty());
  EXPECT_TRUE(exclusions.all().empty());
}

TEST_F(ExclusionsTest, ChangeOnlyWhatIsAnother) {
  writeOwn("[[ExcludePatterns]]\nexcludePattern = 'a' # mine\nexcludeEnabled = true\n");
  const ExcludePattern shown = exclusions.all().at(0);
  EXPECT_TRUE(exclusions.change(shown, 0, {"a", true, false}).empty());
  EXPECT_EQ(ownText(),
            "[[ExcludePatterns]]\nexcludePattern = 'a' # mine\nexcludeEnabled = false\n"
            "excludeRegEx = true\n");
  EXPECT_EQ(exclusions.change(shown, 0, {"b", true}).key, "SETTINGS_ENTRY_GONE");
}

TEST_F(ExclusionsTest, GoOneByOne) {
  exclusions.addExclusions({{"a", false}});
  exclusions.addExclusions({{"b", false}});
  exclusions.remove(exclusions.all().at(0), 0);
  ASSERT_EQ(exclusions.all().size(), 1U);
  EXPECT_EQ(exclusions.all().at(0).text, "b");
}

TEST_F(ExclusionsTest, RaiseADoubtWhereTheyExcludeEverything) {
  for (const char* expression : {".*", "/", "^/", "", "x?", "."}) {
    const PatternDoubt expected =
        *expression == '\0' ? PatternDoubt::empty : PatternDoubt::everything;
    EXPECT_EQ(doubtAbout(expression, true), expected) << expression;
  }
  EXPECT_EQ(doubtAbout("/", false), PatternDoubt::everything);
  EXPECT_EQ(doubtAbout(".", false), PatternDoubt::none);
  EXPECT_EQ(doubtAbout("\\.iso$", true), PatternDoubt::none);
  EXPECT_EQ(doubtAbout("q", false), PatternDoubt::none);
}

TEST_F(ExclusionsTest, RaiseADoubtWhereTheyExcludeAllOfAGuardedFolder) {
  writeOwn("[[QuilloFolderArray]]\npathName = '~/docs'\n");
  EXPECT_EQ(doubtAbout("~", false), PatternDoubt::wholeFolder);
  EXPECT_EQ(concernAbout("/docs/", false).detail, home.at("docs"));
  EXPECT_EQ(doubtAbout("/docs/sub", false), PatternDoubt::none);
}

TEST_F(ExclusionsTest, ThatAreNoneSayWhy) {
  EXPECT_EQ(doubtAbout("(", true), PatternDoubt::notCompiled);
  EXPECT_NE(concernAbout("(", true).detail, "");
  EXPECT_EQ(doubtAbout("(", false), PatternDoubt::none);
  EXPECT_EQ(doubtAbout("r\xE9", false), PatternDoubt::notText);
}

TEST_F(ExclusionsTest, OfAFileExcludeThatFileAlone) {
  for (const std::string name : {"a.exe", "a{1}[b]^$|?*+()\\", "a b'\n\"é"}) {
    const std::string path = home.at(name);
    const auto pattern = exclusions.patternFor(path, false);
    ASSERT_TRUE(pattern) << name;
    const PatternList list({*pattern}, home.path());
    EXPECT_TRUE(list.excluding(path)) << name;
    EXPECT_FALSE(list.excluding(path + "x")) << name;
    EXPECT_FALSE(list.excluding("/other" + path)) << name;
  }
}

TEST_F(ExclusionsTest, OfAFolderExcludeWhatLiesInIt) {
  EXPECT_EQ(exclusions.patternFor(home.at("docs"), true)->text, "~/docs/");
  EXPECT_TRUE(exclusions.patternFor(home.at("a{1}"), true)->isRegEx);
  const PatternList list({*exclusions.patternFor(home.at("a{1}"), true)}, home.path());
  EXPECT_TRUE(list.excluding(home.at("a{1}/x/y")));
  EXPECT_FALSE(list.excluding(home.at("a{1}b")));
}

TEST_F(ExclusionsTest, CannotBeMadeOfANameThatIsNoText) {
  EXPECT_EQ(exclusions.patternFor("/r\xE9", false), std::nullopt);
  EXPECT_EQ(exclusions.patternFor("relative", false), std::nullopt);
}

}  // namespace
}  // namespace quillo
