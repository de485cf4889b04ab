#include "platform/linux/pages/FocusedWheel.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>

namespace quillo {
namespace {

class WheelFilter final : public QObject {
 public:
  using QObject::QObject;

  bool eventFilter(QObject* watched, QEvent* event) override {
    const auto* const widget = qobject_cast<QWidget*>(watched);
    if (event->type() != QEvent::Wheel || !widget || widget->hasFocus()) {
      return false;
    }
    // Unaccepted, it goes on to the widget around.
    event->ignore();
    return true;
  }
};

template <typename Box>
void filter(QWidget& root, WheelFilter* by) {
  for (Box* const box : root.findChildren<Box*>()) {
    // Nor does the wheel give it the keyboard.
    box->setFocusPolicy(Qt::StrongFocus);
    box->installEventFilter(by);
  }
}

}  // namespace

void leaveWheelToFocused(QWidget& root) {
  auto* const by = new WheelFilter(&root);
  filter<QComboBox>(root, by);
  filter<QAbstractSpinBox>(root, by);
}

}  // namespace quillo
