#include "platform/linux/dialogs/DialogStack.h"

#include <algorithm>
#include <utility>

#include "platform/linux/dialogs/DialogWindow.h"

namespace quillo {
namespace {

constexpr int warnings = 3;
constexpr int notices = 3;
constexpr int engineErrors = 1;

}  // namespace

void DialogStack::bringForward(const std::shared_ptr<DialogWindow>& window) {
  if (std::find(shown_.begin(), shown_.end(), window) != shown_.end()) {
    window->raise();
    shownOne_();
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
  const auto waiting = std::find_if(waiting_.begin(), waiting_.end(), isIt);
  if (place != shown_.end()) {
    place->reset();
  } else if (waiting != waiting_.end()) {
    waiting_.erase(waiting);
  } else {
    return;
  }
  fillSoon();
}

void DialogStack::raise() {
  for (const auto& window : shown_) {
    if (window) {
      window->raise();
    }
  }
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
    *free = takeNext(firstStep_ + static_cast<int>(free - shown_.begin()));
    shownOne_();
    fillSoon();
  }
  showOthers();
}

std::shared_ptr<DialogWindow> DialogStack::takeNext(int step) {
  while (!waiting_.empty()) {
    auto next = waiting_.front();
    waiting_.pop_front();
    next->setOthers(static_cast<int>(waiting_.size()), openCount() + 1);
    if (next->appear(step)) {
      return next;
    }
  }
  return nullptr;
}

int DialogStack::openCount() const {
  const auto shown = std::count_if(shown_.begin(), shown_.end(),
                                   [](const auto& window) { return window != nullptr; });
  return static_cast<int>(shown) + static_cast<int>(waiting_.size());
}

void DialogStack::showOthers() {
  for (const auto& window : shown_) {
    if (window) {
      window->setOthers(static_cast<int>(waiting_.size()), openCount());
    }
  }
}

// The piles lie one behind the other, so that each window's title can be seen.
DialogPiles::DialogPiles(Application& application)
    : warnings_(application, 0, warnings, [] {}),
      notices_(application, -notices, notices, [this] { warnings_.raise(); }),
      engineErrors_(application, -notices - engineErrors, engineErrors,
                    [this] { warnings_.raise(); }) {}

void DialogPiles::bringForward(const std::shared_ptr<DialogWindow>& window,
                               ButtonDialog::Kind kind) {
  switch (kind) {
    case ButtonDialog::Kind::warning:
      warnings_.bringForward(window);
      break;
    case ButtonDialog::Kind::notice:
      notices_.bringForward(window);
      break;
    case ButtonDialog::Kind::engineError:
      engineErrors_.bringForward(window);
      break;
  }
}

void DialogPiles::takeOff(DialogWindow& window) {
  for (DialogStack* pile : {&warnings_, &notices_, &engineErrors_}) {
    pile->takeOff(window);
  }
}

}  // namespace quillo
