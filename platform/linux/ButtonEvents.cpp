#include "platform/linux/ButtonEvents.h"

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
  for (QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
    button->installEventFilter(this);
  }
}

unsigned int ButtonEvents::takeKeys() { return std::exchange(keys_, 0U); }

bool ButtonEvents::eventFilter(QObject*, QEvent* event) {
  switch (event->type()) {
    case QEvent::MouseButtonRelease:
      keys_ = keysOf(static_cast<QMouseEvent*>(event)->modifiers());
      break;
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
      if (pressesButton(*static_cast<QKeyEvent*>(event))) {
        keys_ = keysOf(static_cast<QKeyEvent*>(event)->modifiers());
      }
      break;
    case QEvent::Shortcut:
      keys_ = keysOf(QGuiApplication::keyboardModifiers() & ~Qt::AltModifier);
      break;
    default:
      break;
  }
  return false;
}

}  // namespace quillo
