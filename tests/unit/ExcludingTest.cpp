#include <gtest/gtest.h>

#include "companion/folders/Excluding.h"
#include "tests/fakes/desktop/PreferencePagesFixture.h"

namespace quillo {
namespace {

class ExcludingTest : public PreferencePagesFixture {
 protected:
  ExcludingTest() { strings.texts["WINDOW_NO_PATTERN"] = "no pattern for %@"; }

  // What was said last, and nothing asked.
  std::string said() const {
    const Question& last = window.questions.back();
    return last.buttons == std::vector<std::string>{"<WINDOW_BUTTON_CLOSE>"} ? last.text : "asked";
  }

  const ExcludingServices services{exclusions, strings, window};
};

TEST_F(ExcludingTest, SaysWhatItDidAfterwards) {
  excludeExpression(services, "^/srv/a$");
  ASSERT_EQ(exclusions.all().size(), 1U);
  EXPECT_EQ(exclusions.all()[0].text, "^/srv/a$");
  EXPECT_TRUE(exclusions.all()[0].isRegEx);
  EXPECT_EQ(said(), "<WINDOW_EXCLUDED>");
}

TEST_F(ExcludingTest, SaysWhyItCouldNotBeDone) {
  writeAbove("ExcludePatterns = []\n");
  excludeExpression(services, "^/srv/a$");
  EXPECT_EQ(said(), "<SETTINGS_DECIDED_ABOVE>");
  EXPECT_TRUE(exclusions.all().empty());
}

TEST_F(ExcludingTest, ShowsThePatternsFirstAndDoesNothingWithoutAYes) {
  askToExclude(services, {"/srv/a", "/srv/b"});
  ASSERT_EQ(window.questions.size(), 1U);
  const Question& question = window.questions[0];
  EXPECT_EQ(question.text, "<WINDOW_EXCLUDE>");
  EXPECT_EQ(question.detail, "^/srv/a$\n^/srv/b$");
  EXPECT_TRUE(question.isDangerous);
  EXPECT_EQ(question.buttons.back(), "<WINDOW_BUTTON_CANCEL>");
  window.answer("<WINDOW_BUTTON_CANCEL>");
  EXPECT_EQ(window.questions.size(), 1U);
  EXPECT_TRUE(exclusions.all().empty());
}

TEST_F(ExcludingTest, ExcludesAllThatWasShownAsOneChange) {
  askToExclude(services, {"/srv/a", "/srv/b"});
  window.answer("<WINDOW_BUTTON_EXCLUDE>");
  EXPECT_EQ(exclusions.all().size(), 2U);
  EXPECT_EQ(said(), "<WINDOW_EXCLUDED>");
  EXPECT_TRUE(changes.undo().empty());
  EXPECT_TRUE(exclusions.all().empty());
}

TEST_F(ExcludingTest, NamesWhatNoPatternCanNameAndExcludesTheOthers) {
  askToExclude(services, {"/srv/\xFF", "/srv/b"});
  EXPECT_EQ(window.questions[0].detail.find("^/srv/b$\n\nno pattern for /srv/"), 0U)
      << window.questions[0].detail;
  window.answer("<WINDOW_BUTTON_EXCLUDE>");
  ASSERT_EQ(exclusions.all().size(), 1U);
  EXPECT_EQ(exclusions.all()[0].text, "^/srv/b$");
}

TEST_F(ExcludingTest, SaysThatNothingCanBeExcludedWhereNothingCanBeNamed) {
  askToExclude(services, {"/srv/\xFF"});
  EXPECT_EQ(said().find("no pattern for /srv/"), 0U) << said();
  EXPECT_TRUE(exclusions.all().empty());
}

}  // namespace
}  // namespace quillo
