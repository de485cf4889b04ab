#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Dialog.h"
#include "platform/linux/dialogs/ButtonEvents.h"
#include "platform/linux/dialogs/DialogSize.h"
#include "platform/linux/dialogs/DialogText.h"
#include "platform/linux/dialogs/InterfaceFile.h"

class QDialog;

namespace quillo {

// The window behind a dialog: made out of its interface file when it is first to be seen. All of it
// on the main thread, its destruction too.
class DialogWindow final : public std::enable_shared_from_this<DialogWindow> {
 public:
  enum class Level { inPile, floatingKey };

  DialogWindow(InterfaceFile file, DialogServices& services);
  ~DialogWindow();

  void orderFront(Level level);
  void orderOut();
  // Takes it off the screen for good: no later order brings it back.
  void close();
  void setMessage(const std::string& message);
  void setDeleteButtonTitle(const std::string& title) { text_.setDeleteButtonTitle(title); }
  void setKind(ButtonDialog::Kind kind);
  void setSubject(const std::string& text);
  void setFind(const std::string& path, const std::string& threat);
  void setSuspicious(bool suspicious);
  void showFailure(const std::string& text);
  void setAction(ButtonDialog::Action action) { action_ = std::move(action); }

  // For the pile. Shows the window so many steps below where the warnings begin; returns false when
  // it cannot be made.
  bool appear(int step);
  void raise();
  void setOthers(int waiting, int open);

 private:
  bool make();
  void connectButton(const char* name, ButtonDialog::Button button, unsigned int extraKeys = 0);
  void arrange();
  void press(ButtonDialog::Button button, unsigned int keys);
  void dismiss();
  // Makes room for what comes to be seen in a window that may be on the screen.
  void changeText(const std::function<void()>& change);
  // A place in the piles, else the middle of the screen.
  void moveTo(std::optional<int> step);

  // Constant after construction.
  const InterfaceFile file_;
  DialogServices& services_;

  std::unique_ptr<QDialog> dialog_;
  std::unique_ptr<DialogSize> size_;
  std::unique_ptr<ButtonEvents> buttonEvents_;
  ButtonDialog::Action action_;
  ButtonDialog::Kind kind_;
  DialogText text_;
  bool isClosed_ = false;
};

}  // namespace quillo
