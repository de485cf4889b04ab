#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Dialog.h"
#include "platform/Image.h"
#include "platform/LocalizedStrings.h"
#include "platform/linux/ButtonEvents.h"
#include "platform/linux/DialogStack.h"
#include "platform/linux/InterfaceFile.h"
#include "platform/linux/QtModifierKeys.h"

class QDialog;

namespace quillo {

// What the windows of dialogs use; outlives them all.
struct DialogServices {
  ImageLoader& imageLoader;
  LocalizedStrings& localizedStrings;
  QtModifierKeys& modifierKeys;
  DialogStack& stack;
};

// The window behind a dialog: made out of its interface file when it is first to be seen. All of it
// on the main thread, its destruction too.
class DialogWindow final : public std::enable_shared_from_this<DialogWindow> {
 public:
  enum class Level { inPile, floatingKey };

  DialogWindow(InterfaceFile file, DialogServices& services);
  ~DialogWindow();

  void orderFront(Level level);
  void orderOut();
  // For good: no later order brings it back.
  void close();
  void setMessage(const std::string& message);
  void setDeleteButtonTitle(const std::string& title);
  void setAction(ButtonDialog::Action action) { action_ = std::move(action); }

  // For the pile: on the screen as the `place`th of its windows, if it can be made at all; in front
  // of the others; how many wait.
  bool appear(int place);
  void raise();
  void setRest(int count);

 private:
  bool make();
  void connectButton(const char* name, ButtonDialog::Button button, unsigned int extraKeys = 0);
  void arrange();
  void showPicture(const char* nameProperty);
  void showMessage();
  void press(ButtonDialog::Button button, unsigned int keys);
  void dismiss();
  // A place in the pile, else the middle of the screen.
  void fit();
  void fitPath();
  void moveTo(std::optional<int> place);

  // Constant after construction.
  const InterfaceFile file_;
  DialogServices& services_;

  std::unique_ptr<QDialog> dialog_;
  std::unique_ptr<ButtonEvents> buttonEvents_;
  ButtonDialog::Action action_;
  std::string message_;
  bool hasMessage_ = false;
  std::string deleteButtonTitle_;
  bool isClosed_ = false;
};

}  // namespace quillo
