#include <gtest/gtest.h>

#include "posix/PlatformException.h"
#include "settings/TomlEditor.h"

namespace quillo {
namespace {

const TomlFields newOne = {{"p", {std::string("new")}}, {"w", {true}}};

std::string afterAdding(const std::string& text) {
  TomlEditor editor(text);
  editor.addEntry("X", newOne);
  return editor.text();
}

std::string afterChanging(const std::string& text, std::size_t index, const TomlFields& fields,
                          const std::vector<std::string>& without = {}) {
  TomlEditor editor(text);
  editor.changeEntry("X", index, fields, without);
  return editor.text();
}

std::string afterRemoving(const std::string& text, std::size_t index) {
  TomlEditor editor(text);
  editor.removeEntry("X", index);
  return editor.text();
}

TEST(TomlEntriesTest, TheFirstOneStandsAtTheEnd) {
  EXPECT_EQ(afterAdding(""), "[[X]]\np = \"new\"\nw = true\n");
  EXPECT_EQ(afterAdding("a = 1"), "a = 1\n\n[[X]]\np = \"new\"\nw = true\n");
  EXPECT_EQ(afterAdding("a = 1\r\n[Y]\r\n"),
            "a = 1\r\n[Y]\r\n\r\n[[X]]\r\np = \"new\"\r\nw = true\r\n");
}

TEST(TomlEntriesTest, AnotherOneStandsBehindTheLastOne) {
  EXPECT_EQ(afterAdding("[[X]]\np = \"a\"\n\n# about Y\n[Y]\nb = 1\n"),
            "[[X]]\np = \"a\"\n\n[[X]]\np = \"new\"\nw = true\n\n# about Y\n[Y]\nb = 1\n");
  EXPECT_EQ(afterAdding("[[X]]\n[X.sub]\nq = 1"),
            "[[X]]\n[X.sub]\nq = 1\n\n[[X]]\np = \"new\"\nw = true\n");
}

TEST(TomlEntriesTest, ATableOfTheLastOneThatStandsElsewhereStaysItsOwn) {
  EXPECT_EQ(afterAdding("[[X]]\n[Y]\n[X.sub]\nq = 1\n"),
            "[[X]]\n[Y]\n[X.sub]\nq = 1\n\n[[X]]\np = \"new\"\nw = true\n");
}

TEST(TomlEntriesTest, AListWithinBracketsStaysOneAndKeepsItsLook) {
  const std::string entry = "{ p = \"new\", w = true }";
  EXPECT_EQ(afterAdding("X = []\na = 1\n"), "X = [\n  " + entry + ",\n]\na = 1\n");
  EXPECT_EQ(afterAdding("X = [ # none\n]\n"), "X = [\n  " + entry + ", # none\n]\n");
  EXPECT_EQ(afterAdding("X = [{p='a'}] # c\n"), "X = [{p='a'}, " + entry + "] # c\n");
  EXPECT_EQ(afterAdding("X = [ {p='a'}, ]\n"), "X = [ {p='a'}, " + entry + ", ]\n");
  EXPECT_EQ(afterAdding("X = [\n    {p='a'}, # c\n]\n"),
            "X = [\n    {p='a'}, # c\n    " + entry + ",\n]\n");
  EXPECT_EQ(afterAdding("X = [\n  {p='a'} # c, d\n  # e\n]\n"),
            "X = [\n  {p='a'}, # c, d\n  " + entry + "\n  # e\n]\n");
  EXPECT_EQ(afterAdding("X = [\n  {p='a'}]\n"), "X = [\n  {p='a'},\n  " + entry + "]\n");
  EXPECT_EQ(afterAdding("X = [\r\n\t{p='a'},\r\n]\r\n"),
            "X = [\r\n\t{p='a'},\r\n\t" + entry + ",\r\n]\r\n");
}

TEST(TomlEntriesTest, AFieldChangesInItsPlace) {
  const TomlFields off = {{"w", {false}}};
  EXPECT_EQ(
      afterChanging("[[X]]\nw = true\n\n[[X]]\n  w=true # c\n  other = 1\n[Y]\nw = true\n", 1, off),
      "[[X]]\nw = true\n\n[[X]]\n  w=false # c\n  other = 1\n[Y]\nw = true\n");
  EXPECT_EQ(afterChanging("X = [{w=true},\n {p=']}', w=true, q=[1,{w=true}]}]\n", 1, off),
            "X = [{w=true},\n {p=']}', w=false, q=[1,{w=true}]}]\n");
}

TEST(TomlEntriesTest, AFieldOfTheLastLineGetsNoLineEndThatItHadNot) {
  EXPECT_EQ(afterChanging("[[X]]\nw = true", 0, {{"w", {false}}}), "[[X]]\nw = false");
}

TEST(TomlEntriesTest, AFieldThatWasNotThereStandsBehindTheOthers) {
  const TomlFields on = {{"w", {true}}};
  EXPECT_EQ(afterChanging("[[X]]\n  p = 'a'\n# c\n[X.sub]\nq = 1\n", 0, on),
            "[[X]]\n  p = 'a'\n  w = true\n# c\n[X.sub]\nq = 1\n");
  EXPECT_EQ(afterChanging("[[X]]", 0, on), "[[X]]\nw = true\n");
  EXPECT_EQ(afterChanging("X = [{p='a'}]\n", 0, on), "X = [{p='a', w = true}]\n");
  EXPECT_EQ(afterChanging("X = [{}]\n", 0, on), "X = [{ w = true }]\n");
}

TEST(TomlEntriesTest, AFieldCanBeTakenAway) {
  const TomlFields other = {{"u", {std::string("x")}}};
  EXPECT_EQ(afterChanging("[[X]]\np = 'a'\nw = true\n", 0, other, {"p"}),
            "[[X]]\nw = true\nu = \"x\"\n");
  EXPECT_EQ(afterChanging("X = [{p='a', w=true}]\n", 0, other, {"p"}),
            "X = [{w=true, u = \"x\"}]\n");
  EXPECT_EQ(afterChanging("X = [{w=true, p='a' }]\n", 0, {}, {"p"}), "X = [{w=true}]\n");
}

TEST(TomlEntriesTest, OneGoesWithItsLinesAndLeavesTheComments) {
  EXPECT_EQ(afterRemoving(
                "a = 1\n\n# folders\n[[X]]\np = 'a'\n\n[[X]]\np = 'b'\n# c\nw = true\n\n[Y]\n", 1),
            "a = 1\n\n# folders\n[[X]]\np = 'a'\n# c\n\n[Y]\n");
  EXPECT_EQ(afterRemoving("[[X]]\n[X.sub]\nq = 1\n[[X]]\np = 'b'\n", 0), "[[X]]\np = 'b'\n");
}

TEST(TomlEntriesTest, BehindTheLastOneAnEmptyListIsLeft) {
  EXPECT_EQ(afterRemoving("a = 1\n# folders\n[[X]]\np = 'a'\n", 0), "a = 1\nX = []\n# folders\n");
  EXPECT_EQ(afterRemoving("X = [{p='a'}]\n", 0), "X = []\n");
}

TEST(TomlEntriesTest, OneGoesOutOfItsBracketsWithItsComma) {
  EXPECT_EQ(afterRemoving("X = [{p='a'}, {p='b'}, {p='c'}]\n", 0), "X = [{p='b'}, {p='c'}]\n");
  EXPECT_EQ(afterRemoving("X = [{p='a'}, {p='b'}, {p='c'}]\n", 1), "X = [{p='a'}, {p='c'}]\n");
  EXPECT_EQ(afterRemoving("X = [{p='a'}, {p='b'}]\n", 1), "X = [{p='a'}]\n");
  EXPECT_EQ(afterRemoving("X = [\n  {p='a'},\n  {p='b'}, # b\n  {p='c'},\n]\n", 1),
            "X = [\n  {p='a'},\n  # b\n  {p='c'},\n]\n");
  EXPECT_EQ(afterRemoving("X = [\n  {p='a'}, # a\n  {p='b'}\n]\n", 1), "X = [\n  {p='a'} # a\n]\n");
}

TEST(TomlEntriesTest, WhatIsNoListOrNoEntryIsRefused) {
  TomlEditor editor("X = 1\nY = [1]\n");
  EXPECT_THROW(editor.addEntry("X", newOne), PlatformException);
  EXPECT_THROW(editor.removeEntry("X", 0), PlatformException);
  EXPECT_THROW(editor.changeEntry("Y", 0, newOne), PlatformException);
  EXPECT_THROW(editor.removeEntry("Y", 1), PlatformException);
  EXPECT_EQ(editor.text(), "X = 1\nY = [1]\n");
}

TEST(TomlEntriesTest, EveryChangeOfAnOddFileIsUndoneByItsOpposite) {
  const std::string odd =
      "\xEF\xBB\xBF# first\r\n'a b'.c = 1 # x\r\nlong = '''[[X]]\r\n\"'''\r\n\r\n"
      "  [[X]] # one\r\n  p = \"~\" # home\r\n[ X . sub ]\r\nq = [\r\n 1, # [\r\n]\r\n"
      "[[\"X\"]]\r\n\r\n[Z]\r\nX = 1\r\n# last";
  TomlEditor editor(odd);
  editor.addEntry("X", newOne);
  editor.changeEntry("X", 2, {{"w", {false}}});
  editor.set("n", {true});
  EXPECT_NE(editor.text(), odd);
  editor.remove("n");
  editor.removeEntry("X", 2);
  EXPECT_EQ(editor.text(), odd);
}

}  // namespace
}  // namespace quillo
