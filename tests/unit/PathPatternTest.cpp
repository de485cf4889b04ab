#include <gtest/gtest.h>

#include "scanning/PathPattern.h"

namespace quillo {
namespace {

bool matches(const std::string& pattern, const std::string& path) {
  return PathPattern(pattern).matches(path);
}

std::string literal(const std::string& text) {
  return PathPattern::literalExpression(text, "/home/anna");
}

TEST(PathPattern, IsUnanchored) {
  EXPECT_TRUE(matches("na/Do", "/home/anna/Downloads/a"));
  EXPECT_FALSE(matches("bert", "/home/anna/Downloads/a"));
}

TEST(PathPattern, IsCaseSensitive) { EXPECT_FALSE(matches("downloads", "/home/anna/Downloads/a")); }

TEST(PathPattern, HasTheExtendedSyntax) {
  EXPECT_TRUE(matches("\\.(iso|dmg)$", "/home/anna/disk.iso"));
  EXPECT_TRUE(matches("a+b?c{2}", "/home/xaacc"));
  EXPECT_FALSE(matches("\\.(iso|dmg)$", "/home/anna/disk.iso.part"));
}

TEST(PathPattern, AnchoredToANameItExcludesThatNameInAnyFolder) {
  EXPECT_TRUE(matches("^Thumbs", "/home/anna/pictures/Thumbs.db"));
  EXPECT_FALSE(matches("^Thumbs", "/home/anna/oldThumbs.db"));
}

TEST(PathPattern, AnchoredToThePathItExcludesAFolder) {
  EXPECT_TRUE(matches("^/home/anna/big/", "/home/anna/big/file"));
  EXPECT_FALSE(matches("^/home/anna/big/", "/mnt/home/anna/big/file"));
}

TEST(PathPattern, HeldAgainstATextItTriesTheWholeAlone) {
  EXPECT_TRUE(PathPattern("^b$").matches("/a/b"));
  EXPECT_FALSE(PathPattern("^b$").matchesText("/a/b"));
  EXPECT_TRUE(PathPattern("^/a").matchesText("/a/b"));
  EXPECT_FALSE(PathPattern("(").matchesText("("));
}

TEST(PathPattern, OneThatDoesNotCompileMatchesNothing) {
  for (const char* broken : {"(", "[a", "a{2,1}", "*(", "\\"}) {
    EXPECT_FALSE(matches(broken, "/home/anna/(")) << broken;
    EXPECT_FALSE(matches(broken, "/home/anna/[a")) << broken;
  }
}

TEST(PathPattern, MayBeAskedAgainAndAgain) {
  const PathPattern pattern("a$");
  for (int time = 0; time < 3; ++time) {
    EXPECT_TRUE(pattern.matches("/x/a"));
    EXPECT_FALSE(pattern.matches("/x/b"));
  }
}

TEST(PathPattern, ALiteralEscapesEverySpecialCharacterButBracesAndTheClosingBracket) {
  EXPECT_EQ(literal("\\"), "\\\\");
  EXPECT_EQ(literal("[^$.|?*+()"), "\\[\\^\\$\\.\\|\\?\\*\\+\\(\\)");
  EXPECT_EQ(literal("]{}"), "]{}");
}

TEST(PathPattern, ALiteralsBackslashIsNotEscapedTwice) {
  EXPECT_EQ(literal("a\\.b"), "a\\\\\\.b");
  EXPECT_TRUE(matches(literal("a\\.b"), "/x/a\\.b"));
  EXPECT_FALSE(matches(literal("a\\.b"), "/x/a.b"));
}

TEST(PathPattern, ALiteralsTildeBecomesTheHomeFolderAndTheRestMatchesItself) {
  const std::string pattern = literal("~/Down*loads.d");
  EXPECT_EQ(pattern, "/home/anna/Down\\*loads\\.d");
  EXPECT_TRUE(matches(pattern, "/home/anna/Down*loads.d/file"));
  EXPECT_FALSE(matches(pattern, "/home/anna/Downnloads.d/file"));
  EXPECT_FALSE(matches(pattern, "/home/anna/Down*loadsxd/file"));
}

TEST(PathPattern, TheHomeFoldersOwnSpecialCharactersAreEscapedToo) {
  EXPECT_EQ(PathPattern::literalExpression("~/a", "/home/anna.b"), "/home/anna\\.b/a");
}

TEST(PathPattern, ATildeInsideALiteralStaysOne) { EXPECT_EQ(literal("/a/~b"), "/a/~b"); }

TEST(PathPattern, BracesInALiteralAreAnInterval) {
  EXPECT_TRUE(matches(literal("ab{2}"), "/x/abb"));
  EXPECT_FALSE(matches(literal("ab{2}"), "/x/ab{2}"));
}

TEST(PathPattern, ALiteralMatchesAnywhere) {
  EXPECT_TRUE(matches(literal(".iso"), "/home/anna/disk.iso.part"));
  EXPECT_FALSE(matches(literal(".iso"), "/home/anna/diskxiso"));
}

TEST(PathPattern, SaysWhyItDoesNotCompile) {
  EXPECT_NE(PathPattern("(").problem(), "");
  EXPECT_EQ(PathPattern("(a)").problem(), "");
}

// The C library would write them out, to gigabytes or for seconds, or follow the groups to the end
// of its stack.
TEST(PathPattern, OneThatRepeatsRepetitionsTooOftenDoesNotCompile) {
  for (const std::string& pattern :
       {"x" + std::string(38, '+'), std::string("((a{99}){99}){99}"),
        std::string("[[:alpha:]]{6000}"), "x*" + std::string(11, '+'),
        "(x?y*)" + std::string(9, '+'), "x" + std::string(48, '?') + "+++++",
        std::string("(((((x?)+)?)+)?)+"),
        std::string(100000, '(') + "a" + std::string(100000, ')')}) {
    const PathPattern refused(pattern);
    EXPECT_NE(refused.problem(), "") << pattern.substr(0, 40);
    EXPECT_FALSE(refused.matches("/xaaa"));
  }
}

TEST(PathPattern, ManyRepetitionsAndLongTextsAreNoneOfRepetitions) {
  std::string each;
  for (int count = 0; count < 100; ++count) {
    each += "(a+|[]+{]*)+b{1,9}";
  }
  EXPECT_EQ(PathPattern(each).problem(), "");
  EXPECT_TRUE(matches("^/((([a-z]+[.])*x)?y)+$", "/a.b.xyy"));
  EXPECT_TRUE(matches("^/[[:alpha:]+]{2}(a{9}){9}$", "/x+" + std::string(81, 'a')));
  const std::string path = "/" + std::string(4094, '.');
  EXPECT_TRUE(matches(literal(path), path));
}

TEST(PatternList, NamesTheFirstThatExcludesByItsPlaceAmongAll) {
  const PatternList list(
      {{"", false}, {"b", false, false}, {"(", true}, {"~/b", false}, {"b", true}}, "/home/anna");
  EXPECT_EQ(list.excluding("/home/anna/b"), std::optional<std::size_t>(3));
  EXPECT_EQ(list.excluding("/home/bert"), std::optional<std::size_t>(4));
  EXPECT_EQ(list.excluding("/home/carl"), std::nullopt);
}

}  // namespace
}  // namespace quillo
