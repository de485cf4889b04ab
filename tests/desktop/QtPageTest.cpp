#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <stdexcept>

#include "tests/desktop/support/pages/WindowUnderTest.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class QtPageTest : public testing::Test {
 protected:
  QtPageTest() {
    test.window.show("everything");
    QCoreApplication::processEvents();
  }
  void count(const std::string& widget) {
    page.onAction(widget, [this] { ++calls; });
  }

  WindowUnderTest test;
  Page& page = test.window.page("everything");
  int calls = 0;
};

TEST_F(QtPageTest, HasTheTextsOfItsFileInTheUsersLanguage) {
  EXPECT_EQ(page.text("heading"), "Pages");
}

TEST_F(QtPageTest, ShowsNoMarkupAndHidesNothing) {
  page.setText("heading", "<b>a</b>\x1b\xff");
  const auto* label = test.find<QLabel>("heading");
  EXPECT_EQ(label->textFormat(), Qt::PlainText);
  EXPECT_EQ(label->text().toStdString(), "<b>a</b>\\x1b\\xff");
}

TEST_F(QtPageTest, GivesBackTheBytesOfATextThatItsUserLeftAlone) {
  const std::string bytes =
      "/home/ada/\xff"
      "caf\xc3\xa9\n";
  for (const char* widget : {"heading", "line", "words", "button", "group"}) {
    page.setText(widget, bytes);
    EXPECT_EQ(page.text(widget), bytes) << widget;
  }
}

TEST_F(QtPageTest, GivesWhatItsUserWrote) {
  page.setText("line", "\xff");
  test.find<QLineEdit>("line")->clear();
  test.type(test.find<QLineEdit>("line"), "new");
  EXPECT_EQ(page.text("line"), "new");
}

TEST_F(QtPageTest, CallsForAFieldOnceItsUserIsDone) {
  count("line");
  auto* line = test.find<QLineEdit>("line");
  test.type(line, "abc");
  EXPECT_EQ(calls, 0);
  test.press(line, Qt::Key_Return);
  EXPECT_EQ(calls, 1);
  test.press(line, Qt::Key_Return);
  EXPECT_EQ(calls, 1);
}

TEST_F(QtPageTest, CallsForALiveFieldAtEachLetter) {
  count("search");
  test.type(test.find<QLineEdit>("search"), "abc");
  EXPECT_EQ(calls, 3);
}

TEST_F(QtPageTest, CallsForATextOnceItsUserLeavesIt) {
  count("words");
  auto* words = test.find<QPlainTextEdit>("words");
  words->setFocus();
  test.type(words, "abc");
  EXPECT_EQ(calls, 0);
  test.find<QLineEdit>("line")->setFocus();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(page.text("words"), "abc");
}

TEST_F(QtPageTest, CallsNobodyForWhatTheProgramSets) {
  for (const char* widget :
       {"button", "check", "line", "search", "words", "box", "list", "number"}) {
    count(widget);
  }
  page.setText("line", "a");
  page.setText("search", "a");
  page.setText("words", "a");
  page.setText("button", "a");
  page.setChecked("check", true);
  page.setChoices("box", {"a", "b"}, 1);
  page.setChoices("list", {"a", "b"}, 1);
  page.setNumber("number", 7);
  EXPECT_EQ(calls, 0);
}

TEST_F(QtPageTest, CallsForWhatItsUserDoesWithTheKeyboard) {
  for (const char* widget : {"button", "check", "box", "list", "number"}) {
    count(widget);
  }
  page.setChoices("box", {"a", "b"}, 0);
  page.setChoices("list", {"a", "b"}, 0);
  test.press(test.find<QPushButton>("button"), Qt::Key_Space);
  EXPECT_EQ(calls, 1);
  test.press(test.find<QCheckBox>("check"), Qt::Key_Space);
  EXPECT_EQ(calls, 2);
  EXPECT_TRUE(page.isChecked("check"));
  test.press(test.find<QComboBox>("box"), Qt::Key_Down);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(page.choice("box"), 1U);
  test.press(test.find<QListWidget>("list"), Qt::Key_Down);
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(page.choice("list"), 1U);
  test.press(test.find<QSpinBox>("number"), Qt::Key_Up);
  EXPECT_EQ(calls, 5);
  EXPECT_EQ(page.number("number"), 1);
}

TEST_F(QtPageTest, TakesTheActionThatWasSetLast) {
  count("button");
  int others = 0;
  page.onAction("button", [&] { ++others; });
  test.press(test.find<QPushButton>("button"), Qt::Key_Space);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(others, 1);
}

TEST_F(QtPageTest, LivesThroughAnActionThatFails) {
  page.onAction("button", [] { throw std::runtime_error("no"); });
  test.press(test.find<QPushButton>("button"), Qt::Key_Space);
  count("button");
  test.press(test.find<QPushButton>("button"), Qt::Key_Space);
  EXPECT_EQ(calls, 1);
}

TEST_F(QtPageTest, ChoosesNoneBeyondTheLast) {
  for (const char* widget : {"box", "list"}) {
    page.setChoices(widget, {"a", "b"}, 2);
    EXPECT_EQ(page.choice(widget), 2U) << widget;
  }
}

TEST_F(QtPageTest, ShowsHowFarSomethingIs) {
  auto* bar = test.find<QProgressBar>("bar");
  page.setProgress("bar", 1, 0);
  EXPECT_EQ(bar->maximum(), 0);
  page.setProgress("bar", 3ULL << 60U, 4ULL << 60U);
  EXPECT_EQ(bar->value() * 4, bar->maximum() * 3);
}

TEST_F(QtPageTest, KeepsANumberWithinWhatItsFieldTakes) {
  page.setNumber("number", std::int64_t{1} << 40U);
  EXPECT_EQ(page.number("number"), 1000);
}

TEST_F(QtPageTest, TurnsToATab) {
  page.setNumber("tabs", 1);
  EXPECT_EQ(page.number("tabs"), 1);
  page.setNumber("tabs", 0);
  EXPECT_EQ(page.number("tabs"), 0);
}

TEST_F(QtPageTest, HidesAndDisables) {
  page.setVisible("button", false);
  page.setEnabled("check", false);
  EXPECT_FALSE(test.find<QPushButton>("button")->isVisible());
  EXPECT_FALSE(test.find<QCheckBox>("check")->isEnabled());
}

TEST_F(QtPageTest, ShowsAPicture) {
  page.setImage("picture", "sign_warning");
  EXPECT_FALSE(test.find<QLabel>("picture")->pixmap().isNull());
  page.setImage("picture", "");
  EXPECT_TRUE(test.find<QLabel>("picture")->pixmap().isNull());
  EXPECT_EQ(test.log.lines, Lines());
}

TEST_F(QtPageTest, LogsOnceWhatItsFileLacks) {
  for (int times = 0; times < 3; ++times) {
    page.setText("nothing", "a");
    page.setChecked("heading", true);
    page.setRows("list", {}, nullptr);
  }
  EXPECT_EQ(test.log.lines, (Lines{"The page everything: nothing is not in its interface file",
                                   "The page everything: heading is of another kind",
                                   "The page everything: list is no table"}));
}

TEST_F(QtPageTest, IsNoWiderForALongText) {
  const int before = test.window.widget().minimumSizeHint().width();
  page.setText("heading", std::string(5000, 'x'));
  page.setChoices("box", {std::string(500, 'x')}, 0);
  QCoreApplication::processEvents();
  EXPECT_LE(test.window.widget().minimumSizeHint().width(), before + 400);
}

}  // namespace
}  // namespace quillo
