#include <gtest/gtest.h>

#include <QAccessible>
#include <QAction>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <filesystem>
#include <fstream>

#include "posix/PlatformException.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/pages/WindowUnderTest.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class QtMainWindowTest : public testing::Test {
 protected:
  QtMainWindowTest() {
    test.window.addToList("everything", "Every & Thing");
    test.window.addToList("second", "Second");
    test.window.show("everything");
    QCoreApplication::processEvents();
  }
  QMessageBox* question() {
    auto* box = test.window.widget().findChild<QMessageBox*>();
    return box;
  }
  static Question dangerous() {
    return {"<b>Delete</b>?", "/home/ada/\xff", {"&Delete", "&Keep"}, true};
  }

  WindowUnderTest test;
  QListWidget& list = *test.find<QListWidget>("pageList");
};

TEST_F(QtMainWindowTest, ListsItsPagesAndShowsOne) {
  EXPECT_EQ(list.count(), 2);
  EXPECT_EQ(list.item(0)->text(), "Every & Thing");
  EXPECT_EQ(list.currentRow(), 0);
  EXPECT_EQ(test.window.shownPage(), "everything");
  EXPECT_TRUE(test.find<QLabel>("heading")->isVisible());
  EXPECT_EQ(test.window.widget().windowTitle(), "Every & Thing – Vantrel");
}

TEST_F(QtMainWindowTest, TurnsToAPageByTheArrowKeys) {
  test.press(&list, Qt::Key_Down);
  EXPECT_EQ(test.window.shownPage(), "second");
  EXPECT_TRUE(test.find<QPushButton>("other")->isVisible());
  EXPECT_FALSE(test.find<QLabel>("heading")->isVisible());
}

TEST_F(QtMainWindowTest, TurnsToAPageByItsNumber) {
  for (QShortcut* shortcut : test.window.widget().findChildren<QShortcut*>()) {
    if (shortcut->key() == QKeySequence("Ctrl+2")) {
      Q_EMIT shortcut->activated();
    }
  }
  EXPECT_EQ(test.window.shownPage(), "second");
}

TEST_F(QtMainWindowTest, TellsAPageThatItIsSeen) {
  int seen = 0;
  test.window.onShown("second", [&] { ++seen; });
  test.window.show("second");
  EXPECT_EQ(seen, 1);
  test.window.show("everything");
  test.press(&list, Qt::Key_Down);
  EXPECT_EQ(seen, 2);
}

TEST_F(QtMainWindowTest, ShowsAlsoWhatIsNotListed) {
  WindowUnderTest other;
  other.window.show("second");
  EXPECT_EQ(other.window.shownPage(), "second");
}

TEST_F(QtMainWindowTest, SaysWhyItHasNoSuchPage) {
  try {
    test.window.page("none");
    ADD_FAILURE();
  } catch (const PlatformException& failure) {
    EXPECT_NE(failure.reason().find("none.ui"), std::string::npos) << failure.reason();
  }
}

TEST_F(QtMainWindowTest, GivesNoPageOutsideOfItsFolder) {
  EXPECT_THROW(test.window.page("../pages/second"), PlatformException);
}

TEST_F(QtMainWindowTest, StaysOpenWhileSomebodyHoldsIt) {
  bool may = false;
  bool closed = false;
  test.window.onClose([&] { return may; });
  test.window.onClosed([&] { closed = true; });
  test.window.close();
  EXPECT_TRUE(test.window.widget().isVisible());
  EXPECT_FALSE(closed);
  may = true;
  test.window.close();
  EXPECT_FALSE(test.window.widget().isVisible());
  EXPECT_TRUE(closed);
}

TEST_F(QtMainWindowTest, AsksWithoutHoldingUpTheThread) {
  std::vector<std::size_t> answers;
  test.window.ask(dangerous(), [&](std::size_t answer) { answers.push_back(answer); });
  EXPECT_TRUE(answers.empty());
  ASSERT_NE(question(), nullptr);
  for (const QLabel* label : question()->findChildren<QLabel*>()) {
    EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
  }
  EXPECT_EQ(question()->informativeText(), "/home/ada/\\xff");
  question()->findChild<QPushButton*>("answer0")->click();
  EXPECT_EQ(answers, std::vector<std::size_t>{0});
}

TEST_F(QtMainWindowTest, TakesEscapeAndEnterForTheHarmlessAnswer) {
  for (const int key : {Qt::Key_Escape, Qt::Key_Return}) {
    std::vector<std::size_t> answers;
    test.window.ask(dangerous(), [&](std::size_t answer) { answers.push_back(answer); });
    auto* box = question();
    ASSERT_NE(box, nullptr);
    test.press(box, key);
    EXPECT_EQ(answers, std::vector<std::size_t>{1}) << key;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
}

TEST_F(QtMainWindowTest, TakesEnterForTheFirstAnswerWhereThatIsHarmless) {
  std::vector<std::size_t> answers;
  test.window.ask({"Again?", "", {"Again", "Close"}, false},
                  [&](std::size_t answer) { answers.push_back(answer); });
  test.press(question(), Qt::Key_Return);
  EXPECT_EQ(answers, std::vector<std::size_t>{0});
}

TEST_F(QtMainWindowTest, IsAWindowToAScreenReader) {
  QAccessibleInterface* const spoken = QAccessible::queryAccessibleInterface(&test.window.widget());
  EXPECT_EQ(spoken->role(), QAccessible::Window);
}

TEST_F(QtMainWindowTest, ReadsOutItsList) {
  QAccessibleInterface* const spoken = QAccessible::queryAccessibleInterface(&list);
  EXPECT_EQ(spoken->text(QAccessible::Name), "Pages");
  EXPECT_EQ(spoken->role(), QAccessible::List);
}

TEST(MainWindowSize, IsAsItsUserLeftIt) {
  const TemporaryFolder folder;
  const std::string file = folder.path() + "/state/window";
  {
    WindowUnderTest test(file);
    test.window.show("second");
    test.window.widget().resize(700, 500);
    test.window.close();
  }
  WindowUnderTest test(file);
  EXPECT_EQ(test.window.widget().size(), QSize(700, 500));
}

TEST(MainWindowSize, IsTheUsualOneForWhatNobodyLeft) {
  const TemporaryFolder folder;
  const QSize usual = WindowUnderTest().window.widget().size();
  for (const char* nonsense : {"", "nonsense", "-1 5", "1 1", "99999 99999", "700"}) {
    WindowUnderTest test(folder.write("window", nonsense));
    EXPECT_EQ(test.window.widget().size(), usual) << nonsense;
  }
}

TEST(MainWindowSize, IsNotWrittenThroughALink) {
  const TemporaryFolder folder;
  const std::string precious = folder.write("precious", "mine");
  std::filesystem::create_symlink(precious, folder.path() + "/window");
  {
    WindowUnderTest test(folder.path() + "/window");
    test.window.show("second");
    test.window.close();
  }
  EXPECT_EQ(TemporaryFolder::read(precious), "mine");
}

}  // namespace
}  // namespace quillo
