#include <gtest/gtest.h>

#include <limits>

#include "platform/TypedPreferences.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

class TypedPreferencesTest : public testing::Test {
 protected:
  FakePreferenceStore store;
  FakeSystemLog log;
  const TypedPreferences typed{store, log};
};

TEST_F(TypedPreferencesTest, GiveNothingForAnAbsentKeyAndStaySilent) {
  EXPECT_FALSE(typed.exists("k"));
  EXPECT_EQ(typed.string("k"), std::nullopt);
  EXPECT_EQ(typed.boolean("k"), std::nullopt);
  EXPECT_EQ(typed.number("k"), std::nullopt);
  EXPECT_EQ(typed.folder("k"), std::nullopt);
  EXPECT_FALSE(typed.array("k").has_value());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TypedPreferencesTest, GiveAValueOfTheAskedType) {
  store.set("s", "text");
  store.set("b", false);
  store.set("n", 42);
  store.set("a", PreferenceValue{PreferenceArray{PreferenceValue{true}}});
  EXPECT_EQ(typed.string("s"), std::optional<std::string>("text"));
  EXPECT_EQ(typed.boolean("b"), std::optional<bool>(false));
  EXPECT_EQ(typed.number("n"), std::optional<std::int64_t>(42));
  EXPECT_EQ(typed.array("a")->size(), 1U);
  EXPECT_TRUE(typed.exists("b"));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TypedPreferencesTest, TellAndIgnoreAValueOfAnotherType) {
  store.set("s", true);
  store.set("b", "yes");
  store.set("n", "1024");
  store.set("a", PreferenceValue{PreferenceDictionary()});
  store.set("f", PreferenceValue{PreferenceArray()});
  store.set("r", PreferenceValue{1.5});
  EXPECT_EQ(typed.string("s"), std::nullopt);
  EXPECT_EQ(typed.boolean("b"), std::nullopt);
  EXPECT_EQ(typed.number("n"), std::nullopt);
  EXPECT_FALSE(typed.array("a").has_value());
  EXPECT_EQ(typed.folder("f"), std::nullopt);
  EXPECT_EQ(typed.boolean("r"), std::nullopt);
  EXPECT_TRUE(typed.exists("s"));
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "Preference s should be a string but is a boolean; it is ignored",
                "Preference b should be a boolean but is a string; it is ignored",
                "Preference n should be a number but is a string; it is ignored",
                "Preference a should be a list but is a table; it is ignored",
                "Preference f should be a string or a table but is a list; it is ignored",
                "Preference r should be a boolean but is a number; it is ignored"}));
}

TEST_F(TypedPreferencesTest, CutARealToAWholeNumber) {
  store.set("n", PreferenceValue{1024.9});
  EXPECT_EQ(typed.number("n"), std::optional<std::int64_t>(1024));
  store.set("n", PreferenceValue{-0.5});
  EXPECT_EQ(typed.number("n"), std::optional<std::int64_t>(0));
}

TEST_F(TypedPreferencesTest, GiveNothingForARealBeyondAllBounds) {
  for (const double real : {1e300, -1e300, std::numeric_limits<double>::infinity(),
                            std::numeric_limits<double>::quiet_NaN()}) {
    store.set("n", PreferenceValue{real});
    EXPECT_EQ(typed.number("n"), std::nullopt);
  }
}

TEST_F(TypedPreferencesTest, TakeAFolderFromTextOrTable) {
  store.set("f", "/text");
  EXPECT_EQ(typed.folder("f"), std::optional<std::string>("/text"));
  PreferenceDictionary dictionary;
  dictionary["path"] = PreferenceValue{std::string("~/table")};
  store.set("f", PreferenceValue{dictionary});
  EXPECT_EQ(typed.folder("f"), std::optional<std::string>("~/table"));
  store.set("f", PreferenceValue{PreferenceDictionary()});
  EXPECT_EQ(typed.folder("f"), std::nullopt);
  EXPECT_TRUE(log.lines().empty());
  dictionary["path"] = PreferenceValue{true};
  store.set("f", PreferenceValue{dictionary});
  EXPECT_EQ(typed.folder("f"), std::nullopt);
  EXPECT_TRUE(log.has("Preference f.path should be a string but is a boolean; it is ignored"));
}

TEST_F(TypedPreferencesTest, ReadTheEntriesOfAList) {
  const PreferenceValue entry = watchedFolder("/a", true);
  EXPECT_EQ(typed.stringIn(entry, "pathName", "L"), std::optional<std::string>("/a"));
  EXPECT_EQ(typed.booleanIn(entry, "WatchSubdirs", "L"), std::optional<bool>(true));
  EXPECT_EQ(typed.stringIn(entry, "none", "L"), std::nullopt);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(typed.booleanIn(entry, "pathName", "L"), std::nullopt);
  EXPECT_EQ(typed.stringIn(PreferenceValue{true}, "pathName", "L"), std::nullopt);
  EXPECT_EQ(log.lines(), (std::vector<std::string>{
                             "Preference L.pathName should be a boolean but is a string; it is "
                             "ignored",
                             "Preference entry of L should be a table but is a boolean; it is "
                             "ignored"}));
}

TEST_F(TypedPreferencesTest, TakeAFolderOfAnyNameFromAUri) {
  PreferenceDictionary dictionary;
  dictionary["path"] = PreferenceValue{std::string("/other")};
  dictionary["URI"] = PreferenceValue{std::string("file:///r%E9sum%E9s")};
  store.set("f", PreferenceValue{dictionary});
  EXPECT_EQ(typed.folder("f"), std::optional<std::string>("/r\xe9sum\xe9s"));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TypedPreferencesTest, TellAndIgnoreAUriThatNamesNoFileOfThisMachine) {
  PreferenceDictionary dictionary;
  dictionary["path"] = PreferenceValue{std::string("/other")};
  dictionary["URI"] = PreferenceValue{std::string("file://there/a")};
  store.set("f", PreferenceValue{dictionary});
  EXPECT_EQ(typed.folder("f"), std::optional<std::string>("/other"));
  EXPECT_EQ(log.lines(), std::vector<std::string>{
                             "Preference f.URI should be the URI of a local file, such as "
                             "file:///home/ada/r%E9sum%E9s, but is file://there/a; it is ignored"});
}

}  // namespace
}  // namespace quillo
