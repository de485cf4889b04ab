#pragma once

class QDialog;
class QKeyEvent;
class QWidget;
class QWindow;

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <optional>

#include "platform/ModifierKeys.h"

namespace quillo {

// What keys do to the buttons of a window. Enter presses the one that has the focus, and no other.
// A key that is only held, as one that was pressed in another window, presses none. Remembers which
// modifier keys were held at the event that pressed a button: a press by access key comes later
// than its event, and the Alt that belongs to the access key does not count.
class ButtonEvents final : public QObject {
 public:
  // Watches the window itself too, which Escape closes. Main thread.
  explicit ButtonEvents(QWidget& window);

  // Returns the keys as ModifierKeys has them, for one press.
  unsigned int takeKeys();

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool handleKey(QObject& watched, const QKeyEvent& event);

  unsigned int keys_ = 0;
  bool isRepeated_ = false;
};

// Holds a window's buttons back until its user can have seen it: for 700 ms after it came to the
// screen it heeds neither mouse nor key nor the frame's own button, so that what was meant for
// another window presses nothing here. The buttons are disabled meanwhile, and look it.
class ButtonPause final : public QObject {
 public:
  // Lives as long as the window. `over` is called whenever a pause has ended. Main thread.
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

// Alt is Option, Ctrl is Command.
class QtModifierKeys final : public ModifierKeys {
 public:
  // Returns the keys of the event that performWith() is running, else the keys held now: a click
  // that comes over D-Bus brings none with it.
  unsigned int current() override;
  // Runs `action` as the handling of an event at which `keys` were held. Main thread.
  void performWith(unsigned int keys, const std::function<void()>& action);

 private:
  std::optional<unsigned int> keysOfEvent_;
};

}  // namespace quillo
