#include "platform/linux/DialogStack.h"

#include <algorithm>
#include <utility>

#include "platform/linux/DialogWindow.h"

namespace quillo {

void DialogStack::bringForward(const std::shared_ptr<DialogWindow>& window) {
  if (std::find(shown_.begin(), shown_.end(), window) != shown_.end()) {
    window->raise();
    return;
  }
  if (std::find(waiting_.begin(), waiting_.end(), window) == waiting_.end()) {
    waiting_.push_back(window);
  }
  fillSoon();
}

void DialogStack::takeOff(DialogWindow& window) {
  const auto isIt = [&](const auto& other) { return other.get() == &window; };
  const auto place = std::find_if(shown_.begin(), shown_.end(), isIt);
  if (place != shown_.end()) {
    place->reset();
  }
  waiting_.erase(std::remove_if(waiting_.begin(), waiting_.end(), isIt), waiting_.end());
  fillSoon();
}

// Not at once: when all windows are dismissed together, none of those that wait is to flash up. And
// one window at a time: what else was asked of the main thread meanwhile comes in between.
void DialogStack::fillSoon() {
  if (!std::exchange(willFill_, true)) {
    application_.performOnMainThread([this] {
      willFill_ = false;
      fillOnePlace();
    });
  }
}

void DialogStack::fillOnePlace() {
  const auto free = std::find(shown_.begin(), shown_.end(), nullptr);
  if (free != shown_.end() && !waiting_.empty()) {
    *free = takeNext(static_cast<int>(free - shown_.begin()));
    fillSoon();
  } else {
    tellRest();
  }
}

std::shared_ptr<DialogWindow> DialogStack::takeNext(int place) {
  while (!waiting_.empty()) {
    const auto next = waiting_.front();
    waiting_.pop_front();
    if (next->appear(place)) {
      return next;
    }
  }
  return nullptr;
}

void DialogStack::tellRest() {
  for (const auto& window : shown_) {
    if (window) {
      window->setRest(waitingCount());
    }
  }
}

}  // namespace quillo
