#include <gtest/gtest.h>

#include "posix/PlatformException.h"
#include "settings/TomlEditor.h"

namespace quillo {
namespace {

PreferenceValue value(const char* text) { return {std::string(text)}; }

std::string afterSetting(const std::string& text, const std::string& key,
                         const PreferenceValue& to) {
  TomlEditor editor(text);
  editor.set(key, to);
  return editor.text();
}

std::string afterRemoving(const std::string& text, const std::string& key) {
  TomlEditor editor(text);
  editor.remove(key);
  return editor.text();
}

TEST(TomlEditorTest, ReplacesAValueAndNothingElseOnItsLine) {
  EXPECT_EQ(afterSetting("# intro\n  a  =\tfalse   # why\nb=1\n", "a", {true}),
            "# intro\n  a  =\ttrue   # why\nb=1\n");
  EXPECT_EQ(afterSetting("a = 'x' # c", "a", value("y")), "a = \"y\" # c");
  EXPECT_EQ(afterSetting("a = 0xFF\n", "a", {std::int64_t{-7}}), "a = -7\n");
}

TEST(TomlEditorTest, FindsAKeyHoweverItIsQuoted) {
  const std::string key = "Running on OS X Server";
  EXPECT_EQ(afterSetting("\"Running on OS X Server\" = true\n", key, {false}),
            "\"Running on OS X Server\" = false\n");
  EXPECT_EQ(afterSetting("'Running on OS X Server' = true\n", key, {false}),
            "'Running on OS X Server' = false\n");
  EXPECT_EQ(afterSetting("\"\\u0041 b\" = 1\n", "A b", {std::int64_t{2}}), "\"\\u0041 b\" = 2\n");
  EXPECT_EQ(afterSetting("", key, {true}), "\"Running on OS X Server\" = true\n");
}

TEST(TomlEditorTest, ReplacesValuesOfManyLines) {
  EXPECT_EQ(afterSetting("a = \"\"\"\nb = 1\n[x]\n\\\"\"\"\"\"\nc = 2\n", "a", value("z")),
            "a = \"z\"\nc = 2\n");
  EXPECT_EQ(afterSetting("a = '''\nit's # no comment\n''' # one\nc = 2\n", "a", value("z")),
            "a = \"z\" # one\nc = 2\n");
  EXPECT_EQ(afterSetting("a = [ 1, # ] }\n '[', \"]\",\n]\nc = 2\n", "a", {true}),
            "a = true\nc = 2\n");
}

TEST(TomlEditorTest, AddsAKeyBehindTheLastOneThatBelongsToNoTable) {
  EXPECT_EQ(afterSetting("a = 1\n# about b\n\n# about X\n[[X]]\nc = 1\n", "n", {true}),
            "a = 1\nn = true\n# about b\n\n# about X\n[[X]]\nc = 1\n");
  EXPECT_EQ(afterSetting("a = 1", "n", {true}), "a = 1\nn = true\n");
}

TEST(TomlEditorTest, AddsAKeyAboveTheFirstTableAndItsComment) {
  EXPECT_EQ(afterSetting("# intro\n\n# about X\n[X]\nn = 1\n", "n", {true}),
            "# intro\n\nn = true\n\n# about X\n[X]\nn = 1\n");
  EXPECT_EQ(afterSetting("[X]\n", "n", {true}), "n = true\n\n[X]\n");
}

TEST(TomlEditorTest, AKeyOfTheSameNameInATableIsAnother) {
  EXPECT_EQ(afterSetting("[X]\na = 1\n[Y]\na = 2\n", "a", {std::int64_t{3}}),
            "a = 3\n\n[X]\na = 1\n[Y]\na = 2\n");
  EXPECT_EQ(afterRemoving("[X]\na = 1\n", "a"), "[X]\na = 1\n");
}

TEST(TomlEditorTest, KeepsTheLineEndsOfItsAuthor) {
  EXPECT_EQ(afterSetting("a = 1\r\n\r\n[X]\r\n", "n", {true}), "a = 1\r\nn = true\r\n\r\n[X]\r\n");
  EXPECT_EQ(afterSetting("a = false\r\nb = 1", "a", {true}), "a = true\r\nb = 1");
}

TEST(TomlEditorTest, KeepsAByteOrderMarkInFront) {
  EXPECT_EQ(afterSetting("\xEF\xBB\xBF"
                         "a = 1\n",
                         "a", {true}),
            "\xEF\xBB\xBF"
            "a = true\n");
  EXPECT_EQ(afterSetting("\xEF\xBB\xBF"
                         "[X]\n",
                         "a", {true}),
            "\xEF\xBB\xBF"
            "a = true\n\n[X]\n");
  EXPECT_EQ(afterRemoving("\xEF\xBB\xBF"
                          "a = 1\nb = 2\n",
                          "a"),
            "\xEF\xBB\xBF"
            "b = 2\n");
}

TEST(TomlEditorTest, WritesTextThatIsReadBackAsItWas) {
  const std::string odd = "\"quoted\" \\ \t\n\x01\x7F é – ] } # '''";
  TomlEditor editor("");
  editor.set("a", {odd});
  EXPECT_EQ(std::get<std::string>(editor.values().at("a").value), odd);
}

TEST(TomlEditorTest, RefusesTextThatIsNoUtf8AndChangesNothing) {
  TomlEditor editor("a = 1\n");
  EXPECT_THROW(editor.set("a", {std::string("\xFF")}), PlatformException);
  EXPECT_EQ(editor.text(), "a = 1\n");
}

TEST(TomlEditorTest, RefusesATextThatDoesNotParse) {
  EXPECT_THROW(TomlEditor("a = \n"), PlatformException);
}

TEST(TomlEditorTest, RemovesAKeyWithItsLineAndNoOther) {
  EXPECT_EQ(afterRemoving("# about a\na = 1 # x\n# about b\nb = 2\n", "a"),
            "# about a\n# about b\nb = 2\n");
  EXPECT_EQ(afterRemoving("b = 2\n", "a"), "b = 2\n");
  EXPECT_EQ(afterRemoving("a = '''\nx\n'''\nb = 2", "a"), "b = 2");
}

TEST(TomlEditorTest, ReplacesATableHoweverItIsWritten) {
  const char* header = "a = 1\n[Q]\n# where\npath = \"x\"\n[Z]\nb = 2\n";
  EXPECT_EQ(afterSetting(header, "Q", value("y")), "a = 1\nQ = \"y\"\n# where\n[Z]\nb = 2\n");
  EXPECT_EQ(afterSetting("Q.path = \"x\"\na = 1\n", "Q", value("y")), "a = 1\nQ = \"y\"\n");
  EXPECT_EQ(afterSetting("Q = { path = \"x\" } # c\n", "Q", value("y")), "Q = \"y\" # c\n");
}

TEST(TomlEditorTest, WritesATableWithinItsLine) {
  PreferenceDictionary table;
  table["URI"] = value("file:///r%E9");
  EXPECT_EQ(afterSetting("Q = 'x' # c\n", "Q", {table}), "Q = { URI = \"file:///r%E9\" } # c\n");
}

TEST(TomlEditorTest, RemovesATableAndTheTablesInIt) {
  EXPECT_EQ(afterRemoving("[Q]\nx = 1\n[Z]\ny = 1\n[Q.a]\nz = 1\n[[Q.b]]\nq = 1\n[Y]\n", "Q"),
            "[Z]\ny = 1\n[Y]\n");
}

TEST(TomlEditorTest, ReplacesAWholeListOfTables) {
  EXPECT_EQ(afterSetting("[[X]]\na = 1\n[[X]]\na = 2\n[Y]\n", "X", {PreferenceArray()}),
            "X = []\n\n[Y]\n");
}

TEST(TomlEditorTest, AFailedChangeLeavesEverythingAsItWas) {
  TomlEditor editor("[[X]]\na = 1\n");
  EXPECT_THROW(editor.set("X", {PreferenceArray{{true}}}), PlatformException);
  EXPECT_THROW(editor.set("X", {1.5}), PlatformException);
  EXPECT_EQ(editor.text(), "[[X]]\na = 1\n");
  EXPECT_EQ(editor.values().size(), 1U);
}

}  // namespace
}  // namespace quillo
