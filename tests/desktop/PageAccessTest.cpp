// What keyboard and screen reader find on every page, before any of its logic runs.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <set>

#include "tests/desktop/support/pages/WindowUnderTest.h"

namespace quillo {
namespace {

std::vector<std::string> pageNames() {
  std::vector<std::string> names;
  for (const QString& file :
       QDir(QUILLO_SOURCE_DIR "/resources/interface/vantrel").entryList({"*.ui"})) {
    names.push_back(file.chopped(3).toStdString());
  }
  return names;
}

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

class PageAccess : public testing::TestWithParam<std::string> {
 protected:
  PageAccess() {
    window.show(GetParam());
    QCoreApplication::processEvents();
  }
  // Without the parts that Qt makes for its own widgets.
  std::vector<QWidget*> controls() {
    std::vector<QWidget*> found;
    auto* page = window.widget().findChild<QWidget*>("page");
    for (QWidget* widget : page->findChildren<QWidget*>()) {
      if (kindOf(*widget) && !widget->objectName().isEmpty() &&
          !widget->objectName().startsWith("qt_")) {
        found.push_back(widget);
      }
    }
    return found;
  }

  KeptLog log;
  StringTables strings{
      StringTables::foldersOfCompanion(QUILLO_SOURCE_DIR "/resources/strings"), {"en"}, nullptr};
  InterfaceTranslator translator{strings};
  QtImageLoader images{QUILLO_BINARY_DIR "/resources/images"};
  QtMainWindow window{QUILLO_SOURCE_DIR "/resources/interface/vantrel", "", {images, strings, log}};
};

TEST_P(PageAccess, GivesEveryControlANameAndItsRole) {
  ASSERT_FALSE(controls().empty());
  for (QWidget* widget : controls()) {
    const std::string name = widget->objectName().toStdString();
    QAccessibleInterface* const its = QAccessible::queryAccessibleInterface(widget);
    ASSERT_NE(its, nullptr) << name;
    const auto* button = qobject_cast<QPushButton*>(widget);
    const bool isSwitch = button && button->isCheckable();
    EXPECT_EQ(its->role(), isSwitch ? QAccessible::CheckBox : kindOf(*widget)->role) << name;
    EXPECT_NE(its->text(QAccessible::Name).isEmpty(), namedLater.count(name) == 0) << name;
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

INSTANTIATE_TEST_SUITE_P(Each, PageAccess, testing::ValuesIn(pageNames()),
                         [](const auto& each) { return each.param; });

}  // namespace
}  // namespace quillo
