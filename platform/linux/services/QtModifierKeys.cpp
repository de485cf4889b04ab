#include "platform/linux/services/QtModifierKeys.h"

#include <QGuiApplication>
#include <utility>

namespace quillo {

unsigned int QtModifierKeys::current() {
  if (keysOfEvent_) {
    return *keysOfEvent_;
  }
  const Qt::KeyboardModifiers held = QGuiApplication::queryKeyboardModifiers();
  return (held.testFlag(Qt::AltModifier) ? optionKey : 0U) |
         (held.testFlag(Qt::ControlModifier) ? commandKey : 0U);
}

void QtModifierKeys::performWith(unsigned int keys, const std::function<void()>& action) {
  const auto outer = std::exchange(keysOfEvent_, keys);
  action();
  keysOfEvent_ = outer;
}

}  // namespace quillo
