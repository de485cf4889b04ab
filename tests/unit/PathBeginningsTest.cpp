#include <gtest/gtest.h>

#include "watchers/PathBeginnings.h"

namespace quillo {
namespace {

using Numbers = std::vector<std::size_t>;

class PathBeginningsTest : public testing::Test {
 protected:
  void add(const std::vector<std::string>& texts) {
    for (std::size_t number = 0; number < texts.size(); ++number) {
      beginnings.add(texts[number], number);
    }
    beginnings.arrange();
  }
  PathBeginnings beginnings;
};

TEST_F(PathBeginningsTest, FindsNothingAmongNone) { EXPECT_EQ(beginnings.of("/a"), Numbers()); }

TEST_F(PathBeginningsTest, FindsEachThatThePathBeginsWithInTheirOrder) {
  add({"/home/anna/Documents/", "/home/", "/srv/", "/home/anna/", "/home/anna/Documents/new/"});
  EXPECT_EQ(beginnings.of("/home/anna/Documents/letter"), (Numbers{0, 1, 3}));
  EXPECT_EQ(beginnings.of("/home/anna/Documents/new/letter"), (Numbers{0, 1, 3, 4}));
  EXPECT_EQ(beginnings.of("/home/zoe"), Numbers{1});
  EXPECT_EQ(beginnings.of("/srv"), Numbers());
  EXPECT_EQ(beginnings.of("/srv/"), Numbers{2});
}

TEST_F(PathBeginningsTest, IsNotLedAstrayByNeighboursThatTheOrderPutsInBetween) {
  add({"/a", "/a/b/c/", "/a/b/d/", "/a/bb/", "/b"});
  EXPECT_EQ(beginnings.of("/a/b/z"), Numbers{0});
  EXPECT_EQ(beginnings.of("/a/b/d/z"), (Numbers{0, 2}));
  EXPECT_EQ(beginnings.of("/a/\xFF"), Numbers{0});
  EXPECT_EQ(beginnings.of("/c"), Numbers());
}

TEST_F(PathBeginningsTest, GivesANumberOnceWhoseTextsAreSeveralOrTheSame) {
  beginnings.add("/link/", 1);
  beginnings.add("/link/to/", 1);
  beginnings.add("/link/", 0);
  beginnings.arrange();
  EXPECT_EQ(beginnings.of("/link/to/file"), (Numbers{0, 1}));
}

TEST_F(PathBeginningsTest, TakesAnEmptyTextForTheBeginningOfEverything) {
  add({"", "/a"});
  EXPECT_EQ(beginnings.of("/a"), (Numbers{0, 1}));
  EXPECT_EQ(beginnings.of(""), Numbers{0});
}

}  // namespace
}  // namespace quillo
