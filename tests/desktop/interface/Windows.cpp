#include "tests/desktop/interface/Windows.h"

#include <QAbstractItemModel>
#include <QAbstractItemView>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextCursor>
#include <QWidget>
#include <algorithm>

namespace quillo {
namespace {

// One that nothing lies upon, if there is one.
QWidget* find(const std::string& objectName) {
  QWidget* covered = nullptr;
  for (QWidget* window : QApplication::topLevelWidgets()) {
    const QString name = QString::fromStdString(objectName);
    auto* widget = window->objectName() == name ? window : window->findChild<QWidget*>(name);
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

bool showsLineOf(const std::string& objectName, QTextCursor::MoveOperation end) {
  const auto* edit = qobject_cast<QPlainTextEdit*>(find(objectName));
  QTextCursor cursor = edit ? edit->textCursor() : QTextCursor();
  cursor.movePosition(end);
  return edit && edit->viewport()->rect().contains(edit->cursorRect(cursor).center());
}

std::string cellsOf(const std::string& objectName, Qt::ItemDataRole role) {
  const auto* view = qobject_cast<QAbstractItemView*>(find(objectName));
  if (!view) {
    return "";
  }
  const QAbstractItemModel& model = *view->model();
  QStringList rows;
  for (int row = 0; row < model.rowCount(); ++row) {
    QStringList cells;
    for (int column = 0; column < model.columnCount(); ++column) {
      cells << model.index(row, column).data(role).toString();
    }
    rows << cells.join(',');
  }
  return rows.join(';').toStdString();
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

bool answersClicks(const std::string& objectName) {
  const QWidget* widget = find(objectName);
  const QList<QPushButton*> buttons =
      widget ? widget->window()->findChildren<QPushButton*>() : QList<QPushButton*>();
  return std::all_of(buttons.begin(), buttons.end(),
                     [](const QPushButton* button) { return button->isEnabled(); });
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

bool isFramed(const std::string& objectName) {
  const QWidget* widget = find(objectName);
  return widget && widget->window()->frameGeometry().height() > widget->window()->height();
}

bool isResizable(const std::string& objectName) {
  const QWidget* widget = find(objectName);
  return widget && widget->window()->minimumSize() != widget->window()->maximumSize();
}

std::ptrdiff_t visibleCount(const std::string& objectName) {
  const QWidgetList windows = QApplication::topLevelWidgets();
  return std::count_if(windows.begin(), windows.end(), [&](const QWidget* window) {
    const auto* widget = window->findChild<QWidget*>(QString::fromStdString(objectName));
    return widget && widget->isVisible();
  });
}

std::string spoken(const std::string& objectName) {
  QAccessibleInterface* reader = QAccessible::queryAccessibleInterface(find(objectName));
  if (!reader) {
    return "nothing";
  }
  const auto* field = reader->textInterface();
  const QStringList words = {reader->text(QAccessible::Name),
                             reader->text(QAccessible::Description),
                             field ? field->text(0, field->characterCount()) : QString()};
  return words.join('|').toStdString();
}

std::string rowsOf(const std::string& objectName) { return cellsOf(objectName, Qt::DisplayRole); }

std::string toolTipsOf(const std::string& objectName) {
  return cellsOf(objectName, Qt::ToolTipRole);
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

std::string focusedBeside(const std::string& objectName) {
  const QWidget* widget = find(objectName);
  const QWidget* focused = widget ? widget->window()->focusWidget() : nullptr;
  return focused ? focused->objectName().toStdString() : "";
}

bool showsItsStart(const std::string& objectName) {
  return showsLineOf(objectName, QTextCursor::Start);
}

bool showsItsEnd(const std::string& objectName) {
  return showsLineOf(objectName, QTextCursor::End);
}

}  // namespace quillo
