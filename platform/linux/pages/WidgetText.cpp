#include "platform/linux/pages/WidgetText.h"

#include <QAbstractButton>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalBlocker>

#include "platform/linux/text/VisibleText.h"

namespace quillo {
namespace {

constexpr int longestLabel = 1000;
constexpr int longestButton = 80;
// A longer label would widen the window.
constexpr int longestLine = 48;

void setLabelText(QLabel& label, const std::string& bytes) {
  const QString text = elidedInTheMiddle(displayLines(bytes), longestLabel);
  label.setTextFormat(Qt::PlainText);
  if (text.size() > longestLine) {
    label.setWordWrap(true);
  }
  label.setText(breakableText(text));
}

// Whoever reads in it stays where he reads.
void setEditText(QPlainTextEdit& edit, const std::string& bytes) {
  const QSignalBlocker quiet(edit);
  const int place = edit.verticalScrollBar()->value();
  edit.setPlainText(displayLines(bytes));
  edit.verticalScrollBar()->setValue(place);
}

}  // namespace

std::optional<QString> widgetText(const QWidget& widget) {
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
    return label->text();
  }
  if (const auto* line = qobject_cast<const QLineEdit*>(&widget)) {
    return line->text();
  }
  if (const auto* edit = qobject_cast<const QPlainTextEdit*>(&widget)) {
    return edit->toPlainText();
  }
  if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) {
    return button->text();
  }
  if (const auto* box = qobject_cast<const QGroupBox*>(&widget)) {
    return box->title();
  }
  return std::nullopt;
}

void setWidgetText(QWidget& widget, const std::string& bytes) {
  if (auto* label = qobject_cast<QLabel*>(&widget)) {
    setLabelText(*label, bytes);
  } else if (auto* line = qobject_cast<QLineEdit*>(&widget)) {
    const QSignalBlocker quiet(line);
    line->setText(displayText(bytes));
    line->setCursorPosition(0);
  } else if (auto* edit = qobject_cast<QPlainTextEdit*>(&widget)) {
    setEditText(*edit, bytes);
  } else if (auto* button = qobject_cast<QAbstractButton*>(&widget)) {
    button->setText(elidedInTheMiddle(displayText(bytes), longestButton));
  } else if (auto* box = qobject_cast<QGroupBox*>(&widget)) {
    box->setTitle(displayText(bytes));
  }
}

}  // namespace quillo
