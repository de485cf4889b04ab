#include "tests/desktop/face/Windows.h"

#include <QAbstractItemModel>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QWidget>
#include <algorithm>

namespace quillo {
namespace {

// One that nothing lies upon, if there is one.
QWidget* find(const std::string& objectName) {
  QWidget* covered = nullptr;
  for (QWidget* window : QApplication::topLevelWidgets()) {
    auto* widget = window->findChild<QWidget*>(QString::fromStdString(objectName));
    if (!widget || !window->isVisible()) {
      continue;
    }
    if (QApplication::widgetAt(widget->mapToGlobal(widget->rect().center())) == widget) {
      return widget;
    }
    covered = widget;
  }
  return covered;
}

}  // namespace

std::string where(const std::string& objectName) {
  const QWidget* widget = find(objectName);
  if (!widget) {
    return "nowhere";
  }
  const QPoint middle = widget->mapToGlobal(widget->rect().center()) * widget->devicePixelRatioF();
  return "at " + std::to_string(middle.x()) + " " + std::to_string(middle.y());
}

std::string textOf(const std::string& objectName) {
  QWidget* widget = find(objectName);
  if (!widget) {
    return "";
  }
  for (const char* property : {"plainText", "text"}) {
    const QVariant text = widget->property(property);
    if (text.isValid()) {
      return text.toString().toStdString();
    }
  }
  return "";
}

std::ptrdiff_t shownDialogs() {
  const QWidgetList windows = QApplication::topLevelWidgets();
  return std::count_if(windows.begin(), windows.end(), [](const QWidget* window) {
    return window->isVisible() && window->findChild<QWidget*>("theMessage");
  });
}

std::string rowsOf(const std::string& objectName) {
  const auto* view = qobject_cast<QAbstractItemView*>(find(objectName));
  if (!view) {
    return "";
  }
  const QAbstractItemModel& model = *view->model();
  QStringList rows;
  for (int row = 0; row < model.rowCount(); ++row) {
    QStringList cells;
    for (int column = 0; column < model.columnCount(); ++column) {
      cells << model.index(row, column).data().toString();
    }
    rows << cells.join(',');
  }
  return rows.join(';').toStdString();
}

std::string itemsOfPopup() {
  const QWidget* popup = QApplication::activePopupWidget();
  QStringList items;
  for (const QAction* action : popup ? popup->actions() : QList<QAction*>()) {
    if (!action->isSeparator()) {
      items << action->text().section('\t', 0, 0).remove('&');
    }
  }
  return items.join(';').toStdString();
}

std::string areaOf(const std::string& objectName) {
  const QWidget* widget = find(objectName);
  if (!widget) {
    return "nowhere";
  }
  const QRect area = widget->window()->frameGeometry();
  const qreal scale = widget->devicePixelRatioF();
  std::string text;
  for (const int length : {area.x(), area.y(), area.width(), area.height()}) {
    text += (text.empty() ? "" : " ") + std::to_string(qRound(length * scale));
  }
  return text;
}

std::string focused() {
  const QWidget* widget = QApplication::focusWidget();
  return widget ? widget->objectName().toStdString() : "";
}

}  // namespace quillo
