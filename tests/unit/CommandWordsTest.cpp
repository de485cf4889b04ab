#include <gtest/gtest.h>

#include <sstream>

#include "companion/CommandWords.h"

namespace quillo {
namespace {

using Words = std::vector<std::string>;

TEST(CommandWords, AreOptionsWhereverTheyStandAndElseOperands) {
  const auto asked = commandWordsOf({"a", "--json", "-", "b c"});
  ASSERT_TRUE(asked);
  EXPECT_TRUE(asked->asJson);
  EXPECT_EQ(asked->operands, (Words{"a", "-", "b c"}));
  EXPECT_FALSE(commandWordsOf({})->asJson);
}

TEST(CommandWords, AreNoOptionsBehindTwoDashes) {
  const auto asked = commandWordsOf({"--", "--json", "--", "-x"});
  ASSERT_TRUE(asked);
  EXPECT_FALSE(asked->asJson);
  EXPECT_EQ(asked->operands, (Words{"--json", "--", "-x"}));
}

TEST(CommandWords, AreNotUnderstoodWithAnEmptyOneOrAnUnknownOption) {
  EXPECT_FALSE(commandWordsOf({""}));
  EXPECT_FALSE(commandWordsOf({"a", "--", ""}));
  EXPECT_FALSE(commandWordsOf({"--jsn"}));
  EXPECT_FALSE(commandWordsOf({"--x"}, [](const Words&, std::size_t&) { return false; }));
}

TEST(CommandWords, OfAnOptionAreNoOperands) {
  std::string folder;
  const auto take = [&folder](const Words& words, std::size_t& at) {
    folder = words.at(++at);
    return true;
  };
  const auto asked = commandWordsOf({"a", "--to", "--json", "b"}, take);
  ASSERT_TRUE(asked);
  EXPECT_EQ(folder, "--json");
  EXPECT_FALSE(asked->asJson);
  EXPECT_EQ(asked->operands, (Words{"a", "b"}));
}

TEST(CommandWords, ThatAreWrongAreAnsweredWithEachWayOfUse) {
  std::ostringstream errors;
  EXPECT_EQ(showUsage(errors, "quarantine list\nquarantine check"), 2);
  EXPECT_EQ(errors.str(), "usage: vantrel quarantine list\n       vantrel quarantine check\n");
}

TEST(CommandWords, ThatArePathsBeginWhereTheCommandWasGiven) {
  EXPECT_EQ(absolutePath("/a", "/home"), "/a");
  EXPECT_EQ(absolutePath("///a//b", "/home"), "/a//b");
  EXPECT_EQ(absolutePath("//", "/home"), "/");
  EXPECT_EQ(absolutePath("", "/home"), "");
  EXPECT_EQ(absolutePath("./a/./b", "/home"), "/home/a/./b");
  EXPECT_EQ(absolutePath(".", "/home"), "/home/.");
  EXPECT_EQ(absolutePath("a", "/"), "/a");
  EXPECT_EQ(absolutePath("a", ""), "a");
  EXPECT_EQ(absolutePath("a"), currentFolder() + "/a");
}

}  // namespace
}  // namespace quillo
