#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "platform/Application.h"

namespace quillo {

class DialogWindow;

// A pile of windows of one kind. So many are on the screen at a time, one beside the other's title;
// the rest wait in their order for one of these to go. Main thread.
class DialogStack {
 public:
  // `places` windows at a time, the first of them at `firstStep` of the way down the screen; calls
  // `shown` whenever one of them came to the front.
  DialogStack(Application& application, int firstStep, int places, std::function<void()> shown)
      : application_(application),
        firstStep_(firstStep),
        shownOne_(std::move(shown)),
        shown_(static_cast<std::size_t>(places)) {}

  // Shows the window, or brings it to the front, or has it wait. Keeps it alive until it is off.
  void bringForward(const std::shared_ptr<DialogWindow>& window);
  // Forgets the window; one that waits gets its place soon. Nothing for one that is not here.
  void takeOff(DialogWindow& window);
  // Brings all that are shown before other windows, the first of them lowest.
  void raise();

 private:
  void fillOnePlace();
  void fillSoon();
  // The next that can be shown, put there.
  std::shared_ptr<DialogWindow> takeNext(int step);
  // Shown and waiting.
  int openCount() const;
  void showOthers();

  Application& application_;
  const int firstStep_;
  const std::function<void()> shownOne_;
  std::vector<std::shared_ptr<DialogWindow>> shown_;
  std::deque<std::shared_ptr<DialogWindow>> waiting_;
  bool willFill_ = false;
};

}  // namespace quillo
