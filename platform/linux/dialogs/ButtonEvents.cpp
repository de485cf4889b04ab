#include "platform/linux/dialogs/ButtonEvents.h"

#include <QAbstractButton>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <utility>

#include "platform/ModifierKeys.h"

namespace quillo {
namespace {

unsigned int keysOf(Qt::KeyboardModifiers held) {
  return (held.testFlag(Qt::AltModifier) ? ModifierKeys::optionKey : 0U) |
         (held.testFlag(Qt::ControlModifier) ? ModifierKeys::commandKey : 0U);
}

bool pressesButton(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Escape:
      return event.type() == QEvent::KeyPress;
    case Qt::Key_Space:
    case Qt::Key_Select:
      return event.type() == QEvent::KeyRelease;
    default:
      return false;
  }
}

}  // namespace

ButtonEvents::ButtonEvents(QWidget& window) {
  window.installEventFilter(this);
  for (QWidget* widget : window.findChildren<QWidget*>()) {
    widget->installEventFilter(this);
  }
}

unsigned int ButtonEvents::takeKeys() { return std::exchange(keys_, 0U); }

bool ButtonEvents::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::ShortcutOverride:
      isRepeated_ = static_cast<QKeyEvent*>(event)->isAutoRepeat();
      break;
    case QEvent::MouseButtonRelease:
      keys_ = keysOf(static_cast<QMouseEvent*>(event)->modifiers());
      break;
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
      return handleKey(*watched, *static_cast<QKeyEvent*>(event));
    case QEvent::Shortcut:
      if (isRepeated_) {
        return true;
      }
      keys_ = keysOf(QGuiApplication::keyboardModifiers() & ~Qt::AltModifier);
      break;
    default:
      break;
  }
  return false;
}

bool ButtonEvents::handleKey(QObject& watched, const QKeyEvent& event) {
  if (!pressesButton(event)) {
    return false;
  }
  if (event.isAutoRepeat()) {
    return true;
  }
  keys_ = keysOf(event.modifiers());
  auto* button = qobject_cast<QAbstractButton*>(&watched);
  const bool isEnter = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
  if (button && isEnter) {
    button->click();
    return true;
  }
  return false;
}

}  // namespace quillo
