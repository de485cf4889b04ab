#include "platform/linux/pages/QtPage.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableView>
#include <algorithm>
#include <limits>
#include <utility>

#include "platform/linux/pages/ActionSignals.h"
#include "platform/linux/pages/FocusedWheel.h"
#include "platform/linux/pages/PathDrops.h"
#include "platform/linux/pages/WidgetText.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/text/VisibleText.h"
#include "platform/linux/tray/QtImage.h"

namespace quillo {
namespace {

constexpr int usualImageSize = 48;
constexpr int steps = 1000;
constexpr int fewestCharacters = 20;

int inRange(std::int64_t number) {
  return static_cast<int>(std::clamp<std::int64_t>(number, std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max()));
}

// A font of the box would be that of all in it.
void makeTitleBold(QGroupBox& group) {
  QFont title;
  title.setBold(true);
  group.setFont(title);
  QFont plain;
  plain.setBold(false);
  for (QWidget* child : group.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
    if (!child->testAttribute(Qt::WA_SetFont)) {
      child->setFont(plain);
    }
  }
}

// Of a label that leads to a table or a list, Qt tells a screen reader nothing.
void nameByLabel(const QLabel& label) {
  auto* view = qobject_cast<QAbstractItemView*>(label.buddy());
  if (view && view->accessibleName().isEmpty()) {
    view->setAccessibleName(label.text().remove('&'));
  }
}

QStringList displayTexts(const std::vector<std::string>& texts) {
  QStringList result;
  for (const std::string& text : texts) {
    result.append(displayText(text));
  }
  return result;
}

}  // namespace

QtPage::QtPage(std::string name, QWidget& root, const PageServices& services)
    : name_(std::move(name)), root_(root), services_(services) {
  for (QLabel* label : root_.findChildren<QLabel*>()) {
    label->setTextFormat(Qt::PlainText);
    nameByLabel(*label);
  }
  for (QGroupBox* group : root_.findChildren<QGroupBox*>()) {
    makeTitleBold(*group);
  }
  for (QPlainTextEdit* edit : root_.findChildren<QPlainTextEdit*>()) {
    edit->setTabChangesFocus(true);
    edit->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  }
  // A long name in a box would make the window as wide.
  for (QComboBox* box : root_.findChildren<QComboBox*>()) {
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(fewestCharacters);
  }
  leaveWheelToFocused(root_);
  for (QTableView* view : root_.findChildren<QTableView*>()) {
    tables_[view->objectName().toStdString()] =
        std::make_unique<PageTable>(*view, services_.rowMarks);
  }
}

void QtPage::silence() {
  actions_.clear();
  drops_.clear();
  for (const auto& [name, table] : tables_) {
    table->onSelection(nullptr);
    table->onOpened(nullptr);
    table->onTitle(nullptr);
  }
}

void QtPage::setText(const std::string& widget, const std::string& text) {
  QWidget* const target = find(widget);
  if (!target) {
    return;
  }
  const auto shown = shown_.find(widget);
  const auto now = widgetText(*target);
  if (!now) {
    complain(widget, "has no text");
  } else if (shown == shown_.end() || shown->second.bytes != text || shown->second.text != *now) {
    setWidgetText(*target, text);
    shown_[widget] = {text, *widgetText(*target)};
  }
}

std::string QtPage::text(const std::string& widget) {
  QWidget* const target = find(widget);
  const auto now = target ? widgetText(*target) : std::nullopt;
  if (!now) {
    return "";
  }
  const auto shown = shown_.find(widget);
  const bool isAsSet = shown != shown_.end() && shown->second.text == *now;
  return isAsSet ? shown->second.bytes : now->toStdString();
}

void QtPage::setEnabled(const std::string& widget, bool enabled) {
  if (QWidget* target = find(widget)) {
    target->setEnabled(enabled);
  }
}

void QtPage::setVisible(const std::string& widget, bool visible) {
  if (QWidget* target = find(widget)) {
    target->setVisible(visible);
  }
}

void QtPage::setImage(const std::string& widget, const std::string& image) {
  auto* label = find<QLabel>(widget);
  if (!label) {
    return;
  }
  const QVariant wished = label->property("imageSize");
  const int size = wished.isValid() ? wished.toInt() : usualImageSize;
  const ImageRef picture = services_.imageLoader.imageNamed(image);
  if (!picture && !image.empty()) {
    complain(image, "is no image");
  }
  label->setPixmap(QtImage::iconOf(picture).pixmap(QSize(size, size), root_.devicePixelRatioF()));
}

void QtPage::setChecked(const std::string& widget, bool checked) {
  if (auto* button = find<QAbstractButton>(widget)) {
    const QSignalBlocker quiet(button);
    button->setChecked(checked);
  }
}

bool QtPage::isChecked(const std::string& widget) {
  const auto* button = find<QAbstractButton>(widget);
  return button && button->isChecked();
}

void QtPage::setNumber(const std::string& widget, std::int64_t number) {
  if (auto* tabs = qobject_cast<QTabWidget*>(find(widget))) {
    const QSignalBlocker quiet(tabs);
    tabs->setCurrentIndex(inRange(number));
  } else if (auto* box = find<QSpinBox>(widget)) {
    const QSignalBlocker quiet(box);
    box->setValue(inRange(number));
  }
}

std::int64_t QtPage::number(const std::string& widget) {
  if (const auto* tabs = qobject_cast<QTabWidget*>(find(widget))) {
    return tabs->currentIndex();
  }
  const auto* box = find<QSpinBox>(widget);
  return box ? box->value() : 0;
}

void QtPage::setChoices(const std::string& widget, const std::vector<std::string>& choices,
                        std::size_t chosen) {
  QWidget* const target = find(widget);
  const int row = chosen < choices.size() ? static_cast<int>(chosen) : -1;
  if (auto* box = qobject_cast<QComboBox*>(target)) {
    const QSignalBlocker quiet(box);
    box->clear();
    box->addItems(displayTexts(choices));
    box->setCurrentIndex(row);
  } else if (auto* list = qobject_cast<QListWidget*>(target)) {
    const QSignalBlocker quiet(list);
    list->clear();
    list->addItems(displayTexts(choices));
    list->setCurrentRow(row);
  } else if (target) {
    complain(widget, "has no choices");
  }
}

std::size_t QtPage::choice(const std::string& widget) {
  QWidget* const target = find(widget);
  if (const auto* box = qobject_cast<QComboBox*>(target)) {
    return static_cast<std::size_t>(box->currentIndex() < 0 ? box->count() : box->currentIndex());
  }
  if (const auto* list = qobject_cast<QListWidget*>(target)) {
    const bool isNone = list->selectedItems().isEmpty();
    return static_cast<std::size_t>(isNone ? list->count() : list->currentRow());
  }
  return 0;
}

void QtPage::setProgress(const std::string& widget, std::uint64_t done, std::uint64_t all) {
  if (auto* bar = find<QProgressBar>(widget)) {
    const double part =
        all == 0 ? 0 : static_cast<double>(std::min(done, all)) / static_cast<double>(all);
    bar->setRange(0, all == 0 ? 0 : steps);
    bar->setValue(static_cast<int>(part * steps));
  }
}

void QtPage::setRows(const std::string& widget, const std::vector<std::string>& titles,
                     std::shared_ptr<TableRows> rows) {
  if (PageTable* found = table(widget)) {
    found->setRows(titles, std::move(rows));
  }
}

void QtPage::rowsChanged(const std::string& widget) {
  if (PageTable* found = table(widget)) {
    found->refresh();
  }
}

std::vector<std::size_t> QtPage::selectedRows(const std::string& widget) {
  const PageTable* found = table(widget);
  return found ? found->selectedRows() : std::vector<std::size_t>();
}

void QtPage::selectRow(const std::string& widget, std::size_t row) {
  if (PageTable* found = table(widget)) {
    found->selectRow(row);
  }
}

void QtPage::selectRows(const std::string& widget, const std::vector<std::size_t>& rows) {
  if (PageTable* found = table(widget)) {
    found->selectRows(rows);
  }
}

void QtPage::markTitle(const std::string& widget, std::size_t column, bool isAscending) {
  if (PageTable* found = table(widget)) {
    found->markTitle(column, isAscending);
  }
}

void QtPage::onAction(const std::string& widget, Action action) {
  QWidget* const target = find(widget);
  if (!target) {
    return;
  }
  const bool isNew = actions_.count(widget) == 0;
  actions_[widget] = std::move(action);
  const auto act = [this, widget] {
    const auto found = actions_.find(widget);
    if (found != actions_.end() && found->second) {
      Action(found->second)();  // it may set another one
    }
  };
  if (const auto found = tables_.find(widget); found != tables_.end()) {
    found->second->onOpened(act);
  } else if (isNew && !connectAction(*target, act)) {
    complain(widget, "has no action");
  }
}

void QtPage::onSelection(const std::string& widget, Action action) {
  if (PageTable* found = table(widget)) {
    found->onSelection(std::move(action));
  }
}

void QtPage::onTitle(const std::string& widget, std::function<void(std::size_t column)> pressed) {
  if (PageTable* found = table(widget)) {
    found->onTitle(std::move(pressed));
  }
}

void QtPage::onDrop(const std::string& widget,
                    std::function<void(const std::vector<std::string>&)> dropped) {
  QWidget* const target = find(widget);
  if (!target) {
    return;
  }
  const bool isNew = drops_.count(widget) == 0;
  drops_[widget] = std::move(dropped);
  if (isNew) {
    new PathDrops(*target, [this, widget](const std::vector<std::string>& paths) {
      const auto found = drops_.find(widget);
      if (found != drops_.end() && found->second) {
        const auto take = found->second;
        take(paths);
      }
    });
  }
}

void QtPage::focus(const std::string& widget) {
  if (QWidget* target = find(widget)) {
    target->setFocus(Qt::OtherFocusReason);
  }
}

QWidget* QtPage::find(const std::string& name) {
  const auto [at, isNew] = widgets_.try_emplace(name, nullptr);
  if (isNew) {
    at->second = name == "page" ? &root_ : root_.findChild<QWidget*>(QString::fromStdString(name));
  }
  if (!at->second) {
    complain(name, "is not in its interface file");
  }
  return at->second;
}

template <typename Kind>
Kind* QtPage::find(const std::string& name) {
  QWidget* const found = find(name);
  auto* const result = qobject_cast<Kind*>(found);
  if (found && !result) {
    complain(name, "is of another kind");
  }
  return result;
}

PageTable* QtPage::table(const std::string& name) {
  const auto found = tables_.find(name);
  if (found == tables_.end()) {
    complain(name, "is no table");
    return nullptr;
  }
  return found->second.get();
}

void QtPage::complain(const std::string& name, const char* what) {
  const std::string text = "The page " + name_ + ": " + name + " " + what;
  if (complaints_.insert(text).second) {
    services_.systemLog.log(text);
  }
}

}  // namespace quillo
