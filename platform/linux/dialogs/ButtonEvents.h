#pragma once

#include <QObject>

class QKeyEvent;
class QWidget;

namespace quillo {

// What keys do to the buttons of a window. Enter presses the one that has the focus, and no other.
// A key that is only held, as one that was pressed in another window, presses none. Remembers which
// modifier keys were held at the event that pressed a button: a press by access key comes later
// than its event, and the Alt that belongs to the access key does not count.
class ButtonEvents final : public QObject {
 public:
  // Also watches the window itself, which Escape closes. Main thread.
  explicit ButtonEvents(QWidget& window);

  // The keys as ModifierKeys has them, for one press.
  unsigned int takeKeys();

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool handleKey(QObject& watched, const QKeyEvent& event);

  unsigned int keys_ = 0;
  bool isRepeated_ = false;
};

}  // namespace quillo
