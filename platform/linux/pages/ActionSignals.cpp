#include "platform/linux/pages/ActionSignals.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTextDocument>
#include <utility>

#include "platform/linux/services/Guarded.h"

namespace quillo {
namespace {

bool isLive(const QWidget& field) { return field.property("live").toBool(); }

void connectLine(QLineEdit& line, std::function<void()> action) {
  if (isLive(line)) {
    QObject::connect(&line, &QLineEdit::textEdited, &line, [action] { guarded(action); });
    return;
  }
  QObject::connect(&line, &QLineEdit::editingFinished, &line, [&line, action = std::move(action)] {
    if (line.isModified()) {
      line.setModified(false);
      guarded(action);
    }
  });
}

void connectText(QPlainTextEdit& text, std::function<void()> action) {
  if (isLive(text)) {
    QObject::connect(&text, &QPlainTextEdit::textChanged, &text, [action] { guarded(action); });
    return;
  }
  QObject::connect(qApp, &QApplication::focusChanged, &text,
                   [&text, action = std::move(action)](const QWidget* old) {
                     if (old == &text && text.document()->isModified()) {
                       text.document()->setModified(false);
                       guarded(action);
                     }
                   });
}

}  // namespace

bool connectAction(QWidget& widget, std::function<void()> action) {
  const auto act = [action] { guarded(action); };
  if (auto* button = qobject_cast<QAbstractButton*>(&widget)) {
    QObject::connect(button, &QAbstractButton::clicked, button, act);
  } else if (auto* line = qobject_cast<QLineEdit*>(&widget)) {
    connectLine(*line, std::move(action));
  } else if (auto* text = qobject_cast<QPlainTextEdit*>(&widget)) {
    connectText(*text, std::move(action));
  } else if (auto* box = qobject_cast<QComboBox*>(&widget)) {
    QObject::connect(box, &QComboBox::activated, box, act);
  } else if (auto* list = qobject_cast<QListWidget*>(&widget)) {
    QObject::connect(list, &QListWidget::itemSelectionChanged, list, act);
  } else if (auto* number = qobject_cast<QSpinBox*>(&widget)) {
    number->setKeyboardTracking(false);
    QObject::connect(number, &QSpinBox::valueChanged, number, act);
  } else {
    return false;
  }
  return true;
}

}  // namespace quillo
