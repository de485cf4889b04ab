#include "platform/linux/dialogs/DialogPiles.h"

namespace quillo {
namespace {

constexpr int warnings = 3;
constexpr int notices = 3;
constexpr int engineErrors = 1;

}  // namespace

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
