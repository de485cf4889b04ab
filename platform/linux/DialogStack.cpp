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
  if (!willFill_) {
    fillPlaces();
  }
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

// Not at once: when all windows are dismissed together, none of those that wait is to flash up.
void DialogStack::fillSoon() {
  if (!std::exchange(willFill_, true)) {
    application_.performOnMainThread([this] {
      willFill_ = false;
      fillPlaces();
    });
  }
}

void DialogStack::fillPlaces() {
  for (int place = 0; place < places && !waiting_.empty(); ++place) {
    auto& shown = shown_.at(static_cast<std::size_t>(place));
    if (!shown) {
      shown = takeNext(place);
    }
  }
  tellRest();
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
