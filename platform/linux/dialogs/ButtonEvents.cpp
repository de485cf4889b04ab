#include "platform/linux/dialogs/ButtonEvents.h"

#include <QAbstractButton>
#include <QDialog>
#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPushButton>
#include <QWindow>
#include <chrono>
#include <utility>

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

constexpr auto pause = std::chrono::milliseconds(700);

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

ButtonPause::ButtonPause(QDialog& window, std::function<void()> over)
    : QObject(&window), window_(window), over_(std::move(over)) {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  timer_.setInterval(pause);
  connect(&timer_, &QTimer::timeout, this, [this] { end(); });
  window_.installEventFilter(this);
  setButtonsEnabled(false);
}

bool ButtonPause::eventFilter(QObject* watched, QEvent* event) {
  if (watched != &window_) {
    if (event->type() == QEvent::Expose && !isOver_ && surface_ && surface_->isExposed() &&
        !timer_.isActive()) {
      timer_.start();
    }
    return false;
  }
  switch (event->type()) {
    case QEvent::Show:
      if (!event->spontaneous()) {
        begin();
      }
      return false;
    case QEvent::Hide:
      timer_.stop();
      return false;
    case QEvent::KeyPress:
      // Escape, which no button has to be enabled for.
      return !isOver_;
    case QEvent::Close:
      event->setAccepted(isOver_);
      return !isOver_;
    default:
      return false;
  }
}

void ButtonPause::begin() {
  isOver_ = false;
  timer_.stop();
  setButtonsEnabled(false);
  if (surface_ != window_.windowHandle()) {
    surface_ = window_.windowHandle();
    surface_->installEventFilter(this);
  }
}

void ButtonPause::end() {
  isOver_ = true;
  setButtonsEnabled(true);
  over_();
}

void ButtonPause::setButtonsEnabled(bool enabled) {
  for (QPushButton* button : window_.findChildren<QPushButton*>()) {
    button->setEnabled(enabled);
  }
}

unsigned int QtModifierKeys::current() {
  if (keysOfEvent_) {
    return *keysOfEvent_;
  }
  return keysOf(QGuiApplication::queryKeyboardModifiers());
}

void QtModifierKeys::performWith(unsigned int keys, const std::function<void()>& action) {
  const auto outer = std::exchange(keysOfEvent_, keys);
  action();
  keysOfEvent_ = outer;
}

}  // namespace quillo
