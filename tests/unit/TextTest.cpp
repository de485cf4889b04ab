#include <gtest/gtest.h>
#include <pwd.h>

#include "posix/Accounts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

using Pieces = std::vector<std::string_view>;

TEST(Text, SplitGivesAnEmptyPieceBehindTheLastSeparator) {
  EXPECT_EQ(split("a\nb\n", '\n'), (Pieces{"a", "b", ""}));
  EXPECT_EQ(split("a", '\n'), Pieces{"a"});
  EXPECT_EQ(split("", '\n'), Pieces{""});
  EXPECT_EQ(split("\n\n", '\n'), (Pieces{"", "", ""}));
}

TEST(Text, TrimmedTakesWhiteSpaceFromBothEndsOnly) {
  EXPECT_EQ(trimmed(" \t a b \r\n"), "a b");
  EXPECT_EQ(trimmed(" \n"), "");
  EXPECT_EQ(trimmed(""), "");
}

TEST(Text, LowercasedTouchesAsciiLettersOnly) {
  EXPECT_EQ(lowercased("TrUe1_Z"), "true1_z");
  EXPECT_EQ(lowercased("\xC3\x84"), "\xC3\x84");
}

TEST(Text, ReplacingAllDoesNotReplaceWhatItPutIn) {
  EXPECT_EQ(replacingAll("aa", "a", "aa"), "aaaa");
  EXPECT_EQ(replacingAll("abc", "x", "y"), "abc");
  EXPECT_EQ(replacingAll("a.b.", ".", ""), "ab");
}

TEST(Text, ValidUtf8IsAcceptedInEveryLength) {
  EXPECT_TRUE(isValidUtf8(""));
  EXPECT_TRUE(isValidUtf8("plain"));
  EXPECT_TRUE(isValidUtf8("\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80 \xF4\x8F\xBF\xBF"));
  EXPECT_TRUE(isValidUtf8(std::string_view("a\0b", 3)));
}

TEST(Text, InvalidUtf8IsRefused) {
  for (const char* bad :
       {"\x80", "\xFF", "\xC3", "a\xE2\x82", "\xC0\x80", "\xE0\x80\x80", "\xF0\x80\x80\x80",
        "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xC3(", "\xF5\x80\x80\x80", "ok then \xFE"}) {
    EXPECT_FALSE(isValidUtf8(bad)) << bad;
  }
}

TEST(Text, LastColonIsTheOneNearestTheEnd) {
  EXPECT_EQ(lastColon("/a/x:y.zip: Name FOUND"), 10);
  EXPECT_EQ(lastColon(":"), 0);
  EXPECT_EQ(lastColon("none"), -1);
  EXPECT_EQ(lastColon(""), -1);
}

TEST(Text, LastPathComponentIgnoresSlashesAtTheEnd) {
  EXPECT_EQ(lastPathComponent("/a/b"), "b");
  EXPECT_EQ(lastPathComponent("/a/b//"), "b");
  EXPECT_EQ(lastPathComponent("b"), "b");
  EXPECT_EQ(lastPathComponent("/"), "/");
  EXPECT_EQ(lastPathComponent(""), "");
}

TEST(Text, DeletingTheLastPathComponentGivesTheParent) {
  EXPECT_EQ(deletingLastPathComponent("/a/b"), "/a");
  EXPECT_EQ(deletingLastPathComponent("/a/b/"), "/a");
  EXPECT_EQ(deletingLastPathComponent("/a//b"), "/a");
  EXPECT_EQ(deletingLastPathComponent("/a"), "/");
  EXPECT_EQ(deletingLastPathComponent("/"), "/");
  EXPECT_EQ(deletingLastPathComponent("a"), "");
}

TEST(Text, ExpandingTildeTouchesOnlyALeadingOne) {
  EXPECT_EQ(expandingTilde("~", "/home/anna"), "/home/anna");
  EXPECT_EQ(expandingTilde("~/x", "/home/anna"), "/home/anna/x");
  EXPECT_EQ(expandingTilde("/x/~", "/home/anna"), "/x/~");
  EXPECT_EQ(expandingTilde("", "/home/anna"), "");
}

TEST(Text, ExpandingTildeKnowsOtherAccounts) {
  const passwd* root = getpwnam("root");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(expandingTilde("~root/x", "/home/anna"), std::string(root->pw_dir) + "/x");
  EXPECT_EQ(expandingTilde("~no-such-account-here/x", "/home/anna"), "~no-such-account-here/x");
}

TEST(Text, AbbreviatingKnowsTheHomeFolderFromOneThatBeginsLikeIt) {
  EXPECT_EQ(abbreviatingWithTilde("/home/anna/x", "/home/anna"), "~/x");
  EXPECT_EQ(abbreviatingWithTilde("/home/anna", "/home/anna"), "~");
  EXPECT_EQ(abbreviatingWithTilde("/home/anna2/x", "/home/anna"), "/home/anna2/x");
  EXPECT_EQ(abbreviatingWithTilde("/srv", "/home/anna"), "/srv");
  EXPECT_EQ(abbreviatingWithTilde("/srv", ""), "/srv");
}

TEST(Text, AbbreviatingKnowsAHomeFolderWithOneLetterMore) {
  EXPECT_EQ(abbreviatingWithTilde("/home/annas", "/home/anna"), "/home/annas");
}

TEST(Text, WhatLiesBelowAFolderIsDecidedByComponents) {
  EXPECT_TRUE(liesBelow("/a/b", "/a"));
  EXPECT_TRUE(liesBelow("/a", "/"));
  EXPECT_FALSE(liesBelow("/a", "/a"));
  EXPECT_FALSE(liesBelow("/ab", "/a"));
  EXPECT_FALSE(liesBelow("/", "/"));
  EXPECT_FALSE(liesBelow("a", "/"));
}

}  // namespace
}  // namespace quillo
