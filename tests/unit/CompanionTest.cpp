#include <gtest/gtest.h>

#include <stdexcept>

#include "companion/Companion.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

using Names = std::vector<std::string>;

class CompanionTest : public testing::Test {
 protected:
  CompanionPage pageNamed(const std::string& name) {
    return {name, [this, name](Page&) {
              made.push_back(name);
              LivingPage living;
              if (name == "scan") {
                living.take = [this](const Names& paths) { taken = paths; };
              }
              return living;
            }};
  }

  FakeMainWindow window;
  FakeLocalizedStrings strings;
  FakeSystemLog log;
  Names made;
  Names taken;
  Companion companion{{window, strings, log},
                      {pageNamed("overview"),
                       pageNamed("scan"),
                       pageNamed("settings"),
                       {"broken", [](Page&) -> LivingPage { throw std::runtime_error("no"); }}}};
};

TEST_F(CompanionTest, ListsItsPagesAndMakesNone) {
  ASSERT_EQ(window.list.size(), 4U);
  EXPECT_EQ(window.list[0].first, "overview");
  EXPECT_TRUE(made.empty());
}

TEST_F(CompanionTest, ShowsTheFirstPageUnlessOneIsAskedFor) {
  EXPECT_EQ(companion.show(""), "");
  EXPECT_EQ(window.shownPage(), "overview");
  EXPECT_EQ(companion.show("settings"), "");
  EXPECT_EQ(window.shownPage(), "settings");
}

TEST_F(CompanionTest, StaysOnThePageThatIsShown) {
  EXPECT_FALSE(companion.isShown());
  companion.show("settings");
  EXPECT_TRUE(companion.isShown());
  EXPECT_EQ(companion.show(""), "");
  EXPECT_EQ(window.shownPage(), "settings");
}

TEST_F(CompanionTest, MakesAPageOnce) {
  companion.show("settings");
  companion.show("settings");
  window.show("settings");
  EXPECT_EQ(made, Names{"settings"});
}

TEST_F(CompanionTest, MakesAPageThatItsUserTurnsTo) {
  window.show("scan");
  EXPECT_EQ(made, Names{"scan"});
  EXPECT_EQ(window.shownPage(), "scan");
}

TEST_F(CompanionTest, TellsANewPageThatItIsSeen) {
  int seen = 0;
  FakeMainWindow other;
  Companion one({other, strings, log}, {{"help", [&](Page&) {
                                           other.onShown("help", [&] { ++seen; });
                                           return LivingPage();
                                         }}});
  other.show("help");
  EXPECT_EQ(seen, 1);
}

TEST_F(CompanionTest, SaysWhichPagesThereAre) {
  strings.texts["WINDOW_UNKNOWN_PAGE"] = "no %@, but %@";
  EXPECT_EQ(companion.show("nonsense"), "no nonsense, but overview, scan, settings, broken");
  EXPECT_EQ(window.shownPage(), "");
}

TEST_F(CompanionTest, HandsFilesToThePageThatTakesThem) {
  EXPECT_EQ(companion.open({"/a", "/b\xff"}), "");
  EXPECT_EQ(window.shownPage(), "scan");
  EXPECT_EQ(taken, (Names{"/a", "/b\xff"}));
}

TEST_F(CompanionTest, KnowsItsPages) {
  EXPECT_TRUE(companion.has("settings"));
  EXPECT_FALSE(companion.has("nonsense"));
}

TEST_F(CompanionTest, OutlivesAPageThatCannotBeMade) {
  EXPECT_EQ(companion.show("broken"), "");
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_EQ(window.questions[0].detail, "no");
  EXPECT_EQ(companion.show("settings"), "");
  EXPECT_EQ(window.shownPage(), "settings");
}

}  // namespace
}  // namespace quillo
