#pragma once

#include <QObject>

class QWidget;

namespace quillo {

// Remembers which modifier keys were held at the event that pressed a button of a window: a press
// by access key comes later than its event, and the Alt that belongs to the access key does not
// count.
class ButtonEvents final : public QObject {
 public:
  // Also watches the window itself, whose Enter key presses the default button. Main thread.
  explicit ButtonEvents(QWidget& window);

  // The keys as ModifierKeys has them, for one press.
  unsigned int takeKeys();

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  unsigned int keys_ = 0;
};

}  // namespace quillo
