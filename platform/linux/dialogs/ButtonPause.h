#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>

class QDialog;
class QWindow;

namespace quillo {

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
