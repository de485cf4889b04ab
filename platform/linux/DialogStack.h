#pragma once

#include <array>
#include <deque>
#include <memory>

#include "platform/Application.h"

namespace quillo {

class DialogWindow;

// The pile of windows that speak of files. So many are on the screen at a time, one beside the
// other's title; the rest wait in their order for one of these to go. Main thread.
class DialogStack {
 public:
  static constexpr int places = 3;

  explicit DialogStack(Application& application) : application_(application) {}

  // Shows the window, or brings it to the front, or has it wait. Keeps it alive until it is off.
  void bringForward(const std::shared_ptr<DialogWindow>& window);
  // Forgets the window; one that waits gets its place soon.
  void takeOff(DialogWindow& window);
  int waitingCount() const { return static_cast<int>(waiting_.size()); }

 private:
  void fillOnePlace();
  void fillSoon();
  // The next that can be shown, put there.
  std::shared_ptr<DialogWindow> takeNext(int place);
  void tellRest();

  Application& application_;
  std::array<std::shared_ptr<DialogWindow>, places> shown_;
  std::deque<std::shared_ptr<DialogWindow>> waiting_;
  bool willFill_ = false;
};

}  // namespace quillo
