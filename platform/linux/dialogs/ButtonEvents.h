#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>

class QDialog;
class QKeyEvent;
class QWidget;
class QWindow;

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

// Holds a window's buttons back until its user can have seen it: for 700 ms after it came to the
// screen neither mouse nor key nor the frame's own button answers it, so that what was meant for
// another window presses nothing here. The buttons are disabled meanwhile, and look it.
class ButtonPause final : public QObject {
 public:
  // Lives as long as the window. `over` is called whenever that answers from now on. Main thread.
  ButtonPause(QDialog& window, std::function<void()> over);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void begin();
  void end();
  void setButtonsEnabled(bool enabled);

  QDialog& window_;
  const std::function<void()> over_;
  QTimer timer_;
  QPointer<QWindow> surface_;
  bool isOver_ = false;
};

}  // namespace quillo
