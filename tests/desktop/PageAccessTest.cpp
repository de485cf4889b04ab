// What keyboard and screen reader find on every page, before any of its logic runs.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabBar>
#include <map>
#include <set>

#include "tests/desktop/support/controls/InterfaceControls.h"
#include "tests/desktop/support/pages/WindowUnderTest.h"

namespace quillo {
namespace {

struct Kind {
  const char* type;
  QAccessible::Role role;
};

constexpr Kind kinds[] = {
    {"QPushButton", QAccessible::Button},      {"QToolButton", QAccessible::Button},
    {"QCheckBox", QAccessible::CheckBox},      {"QRadioButton", QAccessible::RadioButton},
    {"QLineEdit", QAccessible::EditableText},  {"QPlainTextEdit", QAccessible::EditableText},
    {"QComboBox", QAccessible::ComboBox},      {"QSpinBox", QAccessible::SpinBox},
    {"QTableView", QAccessible::Table},        {"QListWidget", QAccessible::List},
    {"QProgressBar", QAccessible::ProgressBar}};

const Kind* kindOf(const QWidget& widget) {
  for (const Kind& kind : kinds) {
    if (QLatin1String(kind.type) == widget.metaObject()->className()) {
      return &kind;
    }
  }
  return nullptr;
}

// Those get their words together with what they do.
const std::set<std::string> namedLater = {"mendButton"};

// Without the parts that Qt makes for its own widgets.
std::vector<QWidget*> controlsIn(QtMainWindow& window) {
  std::vector<QWidget*> found;
  auto* page = window.widget().findChild<QWidget*>("page");
  for (QWidget* widget : page->findChildren<QWidget*>()) {
    if (kindOf(*widget) && !widget->objectName().isEmpty() &&
        !widget->objectName().startsWith("qt_") && !qobject_cast<QTabBar*>(widget->parent())) {
      found.push_back(widget);
    }
  }
  return found;
}

struct PageInWindow : ProgramsWindow {
  PageInWindow(const std::string& page, const std::string& language) : ProgramsWindow(language) {
    window.show(page);
    QCoreApplication::processEvents();
  }
};

class PageAccess : public testing::TestWithParam<std::string> {
 protected:
  std::vector<QWidget*> controls() { return controlsIn(window); }
  // What the key leads to, and back to where it began.
  std::set<const QWidget*> reachedBy(int key) {
    std::set<const QWidget*> reached;
    window.widget().findChild<QWidget*>("pageList")->setFocus();
    for (QWidget* at = window.widget().focusWidget(); reached.insert(at).second;
         at = window.widget().focusWidget()) {
      WindowUnderTest::press(at, key);
    }
    return reached;
  }

  PageInWindow shown{GetParam(), "en"};
  QtMainWindow& window = shown.window;
  KeptLog& log = shown.log;
};

TEST_P(PageAccess, GivesEveryControlItsRole) {
  ASSERT_FALSE(controls().empty());
  for (QWidget* widget : controls()) {
    const std::string name = widget->objectName().toStdString();
    QAccessibleInterface* const its = QAccessible::queryAccessibleInterface(widget);
    ASSERT_NE(its, nullptr) << name;
    const auto* button = qobject_cast<QPushButton*>(widget);
    const bool isSwitch = button && button->isCheckable();
    EXPECT_EQ(its->role(), isSwitch ? QAccessible::CheckBox : kindOf(*widget)->role) << name;
  }
}

TEST_P(PageAccess, GivesEveryControlANameInEveryLanguage) {
  std::map<std::string, std::set<QString>> names;
  for (const char* language : {"de", "en", "es", "fr", "ja"}) {
    PageInWindow other(GetParam(), language);
    for (QWidget* widget : controlsIn(other.window)) {
      const std::string name = widget->objectName().toStdString();
      const QString read = QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
      EXPECT_NE(read.isEmpty(), namedLater.count(name) == 0) << language << " " << name;
      names[name].insert(read);
    }
  }
  // A word may be the same in two of them, but in no five.
  for (const auto& [name, read] : names) {
    EXPECT_TRUE(read.size() > 1 || namedLater.count(name) > 0) << name;
  }
}

TEST_P(PageAccess, HasRoomForTheHintsInItsFieldsInEveryLanguage) {
  for (const char* language : {"de", "en", "es", "fr", "ja"}) {
    PageInWindow other(GetParam(), language);
    for (const QLineEdit* field : other.window.widget().findChildren<QLineEdit*>()) {
      EXPECT_GE(field->width(), field->fontMetrics().horizontalAdvance(field->placeholderText()))
          << language << " " << field->objectName().toStdString();
    }
  }
}

TEST_P(PageAccess, GivesNumbersAndProgressAValue) {
  for (QWidget* widget : controls()) {
    if (qobject_cast<QProgressBar*>(widget) || qobject_cast<QSpinBox*>(widget)) {
      QAccessibleInterface* const its = QAccessible::queryAccessibleInterface(widget);
      ASSERT_NE(its->valueInterface(), nullptr) << widget->objectName().toStdString();
      EXPECT_TRUE(its->valueInterface()->maximumValue().isValid());
    }
  }
}

TEST_P(PageAccess, LetsTheTabulatorReachAndLeaveEveryControl) {
  std::set<const QWidget*> reached;
  QWidget* const start = window.widget().findChild<QWidget*>("pageList");
  for (QWidget* at = start->nextInFocusChain(); at != start; at = at->nextInFocusChain()) {
    if ((at->focusPolicy() & Qt::TabFocus) != 0) {
      reached.insert(at);
    }
  }
  for (QWidget* widget : controls()) {
    const std::string name = widget->objectName().toStdString();
    if (qobject_cast<QProgressBar*>(widget)) {
      continue;
    }
    EXPECT_EQ(reached.count(widget), 1U) << name;
    if (const auto* view = qobject_cast<QAbstractItemView*>(widget)) {
      EXPECT_FALSE(view->tabKeyNavigation()) << name;
    }
    if (const auto* text = qobject_cast<QPlainTextEdit*>(widget)) {
      EXPECT_TRUE(text->tabChangesFocus()) << name;
    }
  }
}

TEST_P(PageAccess, IsWalkedThroughByTheTabulatorAloneInBothDirections) {
  for (const int key : {Qt::Key_Tab, Qt::Key_Backtab}) {
    const std::set<const QWidget*> reached = reachedBy(key);
    for (QWidget* widget : controls()) {
      const bool isToBeReached =
          widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) != 0;
      // Of some radio buttons one is reached, and the others by the arrows.
      if (!qobject_cast<QRadioButton*>(widget)) {
        EXPECT_EQ(reached.count(widget) == 1, isToBeReached)
            << key << " " << widget->objectName().toStdString();
      }
    }
  }
}

TEST_P(PageAccess, HasWordsForItsTextsAndNoKeys) {
  EXPECT_TRUE(log.lines.empty()) << log.lines.front();
  for (const QLabel* label : window.widget().findChildren<QLabel*>()) {
    EXPECT_EQ(label->text().toUpper() == label->text() && label->text().contains('_'), false)
        << label->text().toStdString();
  }
}

// A name hides the text of a label from who has it read aloud.
TEST_P(PageAccess, HasItsLabelsReadAloud) {
  for (const QLabel* label : window.widget().findChildren<QLabel*>()) {
    EXPECT_TRUE(label->accessibleName().isEmpty()) << label->objectName().toStdString();
  }
}

// The program speaks to the first of that name alone.
TEST_P(PageAccess, GivesNoTwoWidgetsOneName) {
  std::set<QString> names;
  for (const QWidget* widget :
       window.widget().findChild<QWidget*>("page")->findChildren<QWidget*>()) {
    const QString name = widget->objectName();
    if (!name.isEmpty() && !name.startsWith("qt_")) {
      EXPECT_TRUE(names.insert(name).second) << name.toStdString();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Each, PageAccess, testing::ValuesIn(interfacePages()),
                         [](const auto& each) { return each.param; });

}  // namespace
}  // namespace quillo
