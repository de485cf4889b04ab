#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "platform/Application.h"
#include "platform/Dialog.h"

namespace quillo {

class DialogWindow;

// A pile of windows of one kind. So many are on the screen at a time, one beside the other's title;
// the rest wait in their order for one of these to go. Main thread.
class DialogStack {
 public:
  // Shows `places` windows at a time, the first of them at `firstStep` of the way down the screen;
  // calls `shown` whenever one of them came to the front.
  DialogStack(Application& application, int firstStep, int places, std::function<void()> shown)
      : application_(application),
        firstStep_(firstStep),
        shownOne_(std::move(shown)),
        shown_(static_cast<std::size_t>(places)) {}

  // Shows the window, or brings it to the front, or has it wait. Keeps it alive until it is off.
  void bringForward(const std::shared_ptr<DialogWindow>& window);
  // Forgets the window, if it is here; one that waits gets its place soon.
  void takeOff(DialogWindow& window);
  // Brings all that are shown in front of other windows, the first of them lowest.
  void raise();

 private:
  void fillOnePlace();
  void fillSoon();
  // Returns the next that can be shown, put there.
  std::shared_ptr<DialogWindow> takeNext(int step);
  int openCount() const;
  void showOthers();

  Application& application_;
  const int firstStep_;
  const std::function<void()> shownOne_;
  std::vector<std::shared_ptr<DialogWindow>> shown_;
  std::deque<std::shared_ptr<DialogWindow>> waiting_;
  bool willFill_ = false;
};

// A pile for each kind of window, so that none keeps another's from being seen: three warnings,
// three notices and one error of the engine at a time. Warnings lie in front of the others. Main
// thread.
class DialogPiles {
 public:
  explicit DialogPiles(Application& application);

  // Shows the window, or brings it to the front of its pile, or has it wait. Keeps it alive until
  // it is off.
  void bringForward(const std::shared_ptr<DialogWindow>& window, ButtonDialog::Kind kind);
  // Forgets the window; one that waits gets its place soon.
  void takeOff(DialogWindow& window);

 private:
  DialogStack warnings_;
  DialogStack notices_;
  DialogStack engineErrors_;
};

}  // namespace quillo
