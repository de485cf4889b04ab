#pragma once

#include <memory>

#include "platform/Application.h"
#include "platform/Dialog.h"
#include "platform/linux/dialogs/DialogStack.h"

namespace quillo {

class DialogWindow;

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
