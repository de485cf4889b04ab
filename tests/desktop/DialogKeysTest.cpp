// The dialogs without a mouse, and with what a screen reader needs.

#include <gtest/gtest.h>

#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QWidget>
#include <functional>
#include <string>

#include "platform/linux/dialogs/InterfaceFile.h"
#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace quillo {
namespace {

const std::string noEngineTitle = "Engine Problem";
const std::string quarantinedTitle = "Vantrel Quillo";

class DialogKeys : public testing::Test {
 protected:
  void showNoEngine() {
    interface.send("noengine");
    interface.expect("focus " + noEngineTitle);
    interface.ask("where closeButton", "at ");
  }

  // It comes up without the keyboard, which the user moves to it as to any other window.
  void showQuarantined() {
    interface.ask("load QuarantinedDialog", "loaded");
    interface.send("front");
    ASSERT_TRUE(showsWindows(1, quarantinedTitle));
    interface.ask("where deleteButton", "at ");
    session.press("alt+Tab");
    interface.expect("focus " + quarantinedTitle);
  }

  bool showsWindows(std::size_t count, const std::string& title) {
    return session.screen().eventually(
        [&] { return session.screen().countWindows(title) == count; });
  }

  bool isAt(const std::string& name) {
    return session.screen().eventually(
        [&] { return interface.ask("focused", "focused ") == name; });
  }

  void walkTo(const std::string& name) {
    for (int steps = 0; steps < 8 && interface.ask("focused", "focused ") != name; ++steps) {
      session.press("Tab");
      interface.ask("sync", "synced");
    }
    ASSERT_TRUE(isAt(name)) << name;
  }

  // Whether Tab leads to the widgets of these names, from the first of them back to it.
  void expectTabLeadsThrough(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      EXPECT_TRUE(isAt(name)) << name;
      session.press("Tab");
    }
    EXPECT_TRUE(isAt(names.front()));
  }

  DesktopSession session;
  InterfaceProgram interface { session };
};

TEST_F(DialogKeys, LeadThroughTheMissingEnginesWindow) {
  showNoEngine();
  expectTabLeadsThrough(
      {"theMessage", "theAdvice", "closeButton", "openPrefsButton", "openVantrelButton"});
}

TEST_F(DialogKeys, PressTheButtonsOfTheMissingEnginesWindow) {
  showNoEngine();
  walkTo("openPrefsButton");
  session.press("space");
  interface.expect("prefs");
  walkTo("openVantrelButton");
  session.press("Return");
  interface.expect("vantrel");
  session.press("alt+p");
  interface.expect("prefs");
  session.press("alt+v");
  interface.expect("vantrel");
  session.press("alt+c");
  EXPECT_TRUE(showsWindows(0, noEngineTitle));
}

TEST_F(DialogKeys, CloseTheMissingEnginesWindow) {
  showNoEngine();
  session.press("Escape");
  EXPECT_TRUE(showsWindows(0, noEngineTitle));
}

TEST_F(DialogKeys, LeadThroughTheWindowOfAQuarantinedFile) {
  showQuarantined();
  expectTabLeadsThrough({"theMessage", "ignoreButton", "deleteButton"});
}

TEST_F(DialogKeys, ShowTheQuarantineFolder) {
  showQuarantined();
  walkTo("deleteButton");
  session.press("space");
  EXPECT_EQ(interface.expect("pressed "), "0 delete 0");
  EXPECT_TRUE(showsWindows(0, quarantinedTitle));
}

TEST_F(DialogKeys, ShowTheQuarantineFolderByItsAccessKey) {
  showQuarantined();
  session.press("alt+s");
  EXPECT_EQ(interface.expect("pressed "), "0 delete 0");
}

TEST_F(DialogKeys, DismissTheWindowOfAQuarantinedFile) {
  for (const char* key : {"Escape", "alt+o"}) {
    showQuarantined();
    session.press(key);
    EXPECT_EQ(interface.expect("pressed ").substr(2), "other 0") << key;
    EXPECT_TRUE(showsWindows(0, quarantinedTitle)) << key;
  }
}

// What is typed into a window that came up under the user's hands.
TEST_F(DialogKeys, PressNoButtonUnlessTheUserWalksToIt) {
  showNoEngine();
  for (const char* key : {"Return", "space", "KP_Enter", "i", "m", "s"}) {
    session.press(key);
  }
  interface.ask("sync", "synced");
  EXPECT_EQ(session.screen().countWindows(noEngineTitle), 1U);
  session.press("alt+p");
  interface.expect("prefs");
}

TEST_F(DialogKeys, AnswerNothingAsLongAsTheWindowIsNew) {
  interface.send("noengine");
  interface.expect("focus " + noEngineTitle);
  for (const char* key : {"Escape", "alt+c"}) {
    session.press(key);
  }
  interface.ask("where closeButton", "at ");
  EXPECT_EQ(session.screen().countWindows(noEngineTitle), 1U);
}

bool isBuddy(const QWidget& window, const QWidget* widget) {
  const QList<QLabel*> labels = window.findChildren<QLabel*>();
  return std::any_of(labels.begin(), labels.end(),
                     [&](const QLabel* label) { return label->buddy() == widget; });
}

// What takes the keys and would be read out without a word.
QStringList namelessWidgetsIn(const QWidget& window) {
  QStringList nameless;
  for (const QWidget* widget : window.findChildren<QWidget*>()) {
    const bool isOfQt = widget->objectName().isEmpty() || widget->objectName().startsWith("qt_");
    const bool hasWords = !widget->accessibleName().isEmpty() ||
                          !widget->accessibleDescription().isEmpty() ||
                          !widget->property("text").toString().isEmpty() || isBuddy(window, widget);
    if (!isOfQt && widget->focusPolicy() != Qt::NoFocus && !hasWords) {
      nameless << widget->objectName();
    }
  }
  return nameless;
}

// Where the keys go when a window comes up; null in one that takes none.
QWidget* firstTabStopOf(QWidget& window) {
  for (QWidget* next = window.nextInFocusChain(); next != &window;
       next = next->nextInFocusChain()) {
    if ((next->focusPolicy() & Qt::TabFocus) != 0 && next->isVisibleTo(&window)) {
      return next;
    }
  }
  return nullptr;
}

void forEveryWindow(const std::function<void(const std::string&, QWidget&)>& look) {
  const QDir folder(QUILLO_SOURCE_DIR "/resources/interface");
  const QStringList files = folder.entryList({"*.ui"});
  EXPECT_EQ(files.size(), 6);
  for (const QString& name : files) {
    std::string reason;
    const auto file =
        InterfaceFile::read(folder.path().toStdString(), name.chopped(3).toStdString(), reason);
    ASSERT_TRUE(file) << reason;
    const auto window = file->makeWidget();
    ASSERT_TRUE(window) << name.toStdString();
    look(name.toStdString(), *window);
  }
}

TEST(InterfaceFiles, NameEveryWidgetThatTakesTheKeys) {
  forEveryWindow([](const std::string& name, QWidget& window) {
    EXPECT_EQ(namelessWidgetsIn(window).join(", ").toStdString(), "") << name;
  });
}

// A key that was meant for another window presses nothing.
TEST(InterfaceFiles, LetNoKeyPressAButtonThatNobodyWalkedTo) {
  forEveryWindow([](const std::string& name, QWidget& window) {
    for (const QPushButton* button : window.findChildren<QPushButton*>()) {
      EXPECT_FALSE(button->isDefault()) << name << " " << button->objectName().toStdString();
    }
    const QWidget* first = firstTabStopOf(window);
    EXPECT_EQ(qobject_cast<const QPushButton*>(first), nullptr)
        << name << " " << first->objectName().toStdString();
  });
}

// A screen reader says a widget's own name instead of what a label shows.
TEST(InterfaceFiles, LetTheTextOfEveryLabelBeRead) {
  forEveryWindow([](const std::string& name, QWidget& window) {
    for (const QLabel* label : window.findChildren<QLabel*>()) {
      EXPECT_EQ(label->accessibleName().toStdString(), "")
          << name << " " << label->objectName().toStdString();
    }
  });
}

}  // namespace
}  // namespace quillo
