#include <gtest/gtest.h>

#include <limits>

#include "settings/TypedPreferences.h"
#include "settings/WatchSettings.h"
#include "tests/fakes/desktop/FakePlatform.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Text = std::optional<std::string>;

constexpr Preference<bool> on{"on", true, ""};
constexpr Preference<bool> off{"off", false, ""};
constexpr Preference<std::int64_t> number{"n", 42, ""};
constexpr Preference<std::string> text{"s", "", ""};
constexpr Preference<Presence> presence{"p", "", ""};
constexpr Preference<FolderPath> folder{"f", "", ""};
constexpr Preference<std::vector<ChosenFolder>> chosen{"L", "", ""};
constexpr Preference<std::vector<ExcludePattern>> patterns{"X", "", ""};

class TypedPreferencesTest : public testing::Test {
 protected:
  TypedPreferencesTest() { desktop.folders.home = "/home/anna"; }
  void setList(const char* key, PreferenceArray entries) {
    store.set(key, PreferenceValue{std::move(entries)});
  }

  FakePlatform desktop;
  FakePreferenceStore& store = desktop.preferenceStore;
  FakeSystemLog& log = desktop.systemLog;
  const TypedPreferences& typed = desktop.preferences;
};

TEST_F(TypedPreferencesTest, GiveWhatTheTableSaysForAnAbsentKeyAndStaySilent) {
  EXPECT_TRUE(typed.value(on));
  EXPECT_FALSE(typed.value(off));
  EXPECT_EQ(typed.value(number), 42);
  EXPECT_EQ(typed.value(text), std::nullopt);
  EXPECT_FALSE(typed.value(presence));
  EXPECT_EQ(typed.value(folder), std::nullopt);
  EXPECT_TRUE(typed.value(chosen).empty());
  EXPECT_TRUE(typed.value(patterns).empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TypedPreferencesTest, GiveAValueOfTheAskedType) {
  store.set("s", "text");
  store.set("on", false);
  store.set("off", true);
  store.set("n", 7);
  store.set("p", false);
  EXPECT_EQ(typed.value(text), Text("text"));
  EXPECT_FALSE(typed.value(on));
  EXPECT_TRUE(typed.value(off));
  EXPECT_EQ(typed.value(number), 7);
  EXPECT_TRUE(typed.value(presence));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TypedPreferencesTest, LogAndIgnoreAValueOfAnotherType) {
  store.set("s", true);
  store.set("on", "no");
  store.set("n", "1024");
  store.set("L", PreferenceValue{PreferenceDictionary()});
  store.set("X", "text");
  store.set("f", PreferenceValue{PreferenceArray()});
  store.set("off", PreferenceValue{1.5});
  store.set("p", PreferenceValue{PreferenceArray()});
  EXPECT_EQ(typed.value(text), std::nullopt);
  EXPECT_TRUE(typed.value(on));
  EXPECT_EQ(typed.value(number), 42);
  EXPECT_TRUE(typed.value(chosen).empty());
  EXPECT_TRUE(typed.value(patterns).empty());
  EXPECT_EQ(typed.value(folder), std::nullopt);
  EXPECT_FALSE(typed.value(off));
  EXPECT_TRUE(typed.value(presence));
  EXPECT_EQ(log.lines(),
            (Lines{"Preference s should be a string but is a boolean; it is ignored",
                   "Preference on should be a boolean but is a string; it is ignored",
                   "Preference n should be a number but is a string; it is ignored",
                   "Preference L should be a list but is a table; it is ignored",
                   "Preference X should be a list but is a string; it is ignored",
                   "Preference f should be a string or a table but is a list; it is ignored",
                   "Preference off should be a boolean but is a number; it is ignored"}));
}

TEST_F(TypedPreferencesTest, CutARealToAWholeNumber) {
  store.set("n", PreferenceValue{1024.9});
  EXPECT_EQ(typed.value(number), 1024);
  store.set("n", PreferenceValue{-0.5});
  EXPECT_EQ(typed.value(number), 0);
}

TEST_F(TypedPreferencesTest, CountARealBeyondAllBoundsAsAbsent) {
  for (const double real : {1e300, -1e300, std::numeric_limits<double>::infinity(),
                            std::numeric_limits<double>::quiet_NaN()}) {
    store.set("n", PreferenceValue{real});
    EXPECT_EQ(typed.value(number), 42);
  }
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TypedPreferencesTest, TakeAFolderFromTextOrTable) {
  store.set("f", "/text");
  EXPECT_EQ(typed.value(folder), Text("/text"));
  store.set("f", "~/text");
  EXPECT_EQ(typed.value(folder), Text("/home/anna/text"));
  PreferenceDictionary table;
  table["path"] = PreferenceValue{std::string("~/table")};
  store.set("f", PreferenceValue{table});
  EXPECT_EQ(typed.value(folder), Text("/home/anna/table"));
  store.set("f", PreferenceValue{PreferenceDictionary()});
  EXPECT_EQ(typed.value(folder), std::nullopt);
  EXPECT_TRUE(log.lines().empty());
  table["path"] = PreferenceValue{true};
  store.set("f", PreferenceValue{table});
  EXPECT_EQ(typed.value(folder), std::nullopt);
  EXPECT_TRUE(log.has("Preference f.path should be a string but is a boolean; it is ignored"));
}

TEST_F(TypedPreferencesTest, TakeAFolderOfAnyNameFromAUri) {
  PreferenceDictionary table;
  table["path"] = PreferenceValue{std::string("/other")};
  table["URI"] = PreferenceValue{std::string("file:///r%E9sum%E9s")};
  store.set("f", PreferenceValue{table});
  EXPECT_EQ(typed.value(folder), Text("/r\xe9sum\xe9s"));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TypedPreferencesTest, LogAndIgnoreAUriThatNamesNoFileOfThisMachine) {
  PreferenceDictionary table;
  table["path"] = PreferenceValue{std::string("/other")};
  table["URI"] = PreferenceValue{std::string("file://there/a")};
  store.set("f", PreferenceValue{table});
  EXPECT_EQ(typed.value(folder), Text("/other"));
  EXPECT_EQ(log.lines(),
            Lines{"Preference f.URI should be the URI of a local file, such as "
                  "file:///home/ada/r%E9sum%E9s, but is file://there/a; it is ignored"});
}

TEST_F(TypedPreferencesTest, ReadTheFoldersToGuardInTheUsersOrder) {
  PreferenceDictionary named;
  named["pathURI"] = PreferenceValue{std::string("file:///r%E9sum%E9s")};
  setList("L", {watchedFolder("~/a", true), PreferenceValue{named}, watchedFolder("/b", false)});
  const std::vector<ChosenFolder> folders = typed.value(chosen);
  ASSERT_EQ(folders.size(), 3U);
  EXPECT_EQ(folders[0].path, "/home/anna/a");
  EXPECT_TRUE(folders[0].withSubdirs);
  EXPECT_EQ(folders[1].path, "/r\xe9sum\xe9s");
  EXPECT_FALSE(folders[1].withSubdirs);
  EXPECT_EQ(folders[2].path, "/b");
  EXPECT_FALSE(folders[2].withSubdirs);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TypedPreferencesTest, KeepAnEntryThatNamesNoFolderAndLogWhatItIs) {
  PreferenceDictionary wrong;
  wrong["pathName"] = PreferenceValue{true};
  setList("L", {PreferenceValue{wrong}, PreferenceValue{true}});
  const std::vector<ChosenFolder> folders = typed.value(chosen);
  ASSERT_EQ(folders.size(), 2U);
  EXPECT_EQ(folders[0].path, "");
  EXPECT_EQ(folders[1].path, "");
  const std::string noTable =
      "Preference entry of L should be a table but is a boolean; it is ignored";
  EXPECT_EQ(log.lines(),
            (Lines{"Preference L.pathName should be a string but is a boolean; it is ignored",
                   noTable, noTable, noTable}));
}

TEST_F(TypedPreferencesTest, ReadOnlyThePatternsThatAreEnabled) {
  const auto entry = [](const char* pattern, bool enabled, bool isRegEx) {
    PreferenceDictionary table;
    table["excludePattern"] = PreferenceValue{std::string(pattern)};
    table["excludeEnabled"] = PreferenceValue{enabled};
    table["excludeRegEx"] = PreferenceValue{isRegEx};
    return PreferenceValue{table};
  };
  setList("X", {entry("~/a", true, false), entry("b", false, true), entry("^c", true, true)});
  const std::vector<ExcludePattern> enabled = typed.value(patterns);
  ASSERT_EQ(enabled.size(), 2U);
  EXPECT_EQ(enabled[0].text, "~/a");
  EXPECT_FALSE(enabled[0].isRegEx);
  EXPECT_EQ(enabled[1].text, "^c");
  EXPECT_TRUE(enabled[1].isRegEx);
}

TEST(WatchSettingsTest, DropTheSettingsWithoutTheDaemonToo) {
  WatchSettings before;
  before.maxRatio = "--x";
  before.excludePattern = before.includePattern = "--x";
  const WatchSettings left = withoutDerivedValues(before);
  EXPECT_EQ(left.maxRatio, std::nullopt);
  EXPECT_EQ(left.excludePattern, "");
  EXPECT_EQ(left.includePattern, "");
}

}  // namespace
}  // namespace quillo
