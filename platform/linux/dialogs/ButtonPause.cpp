#include "platform/linux/dialogs/ButtonPause.h"

#include <QDialog>
#include <QEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QWindow>
#include <chrono>
#include <utility>

namespace quillo {
namespace {

constexpr auto pause = std::chrono::milliseconds(700);

}  // namespace

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

}  // namespace quillo
