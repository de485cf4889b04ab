#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quillo {

// A window that speaks to the user. Any thread, unless said otherwise; changes are shown soon, in
// the order in which they were made, and nobody waits for the main thread.
class Dialog {
 public:
  virtual ~Dialog() = default;
  // Shows it above other applications' windows, whatever application is active.
  virtual void orderFrontRegardless() = 0;
  // Makes it float above the agent's other windows and gives it the keyboard, then brings it
  // forward.
  virtual void makeFloatingKeyAndOrderFront() = 0;
  virtual void orderOut() = 0;
  // Takes it off the screen for good and releases what it held.
  virtual void close() = 0;
  // The message field. The getter gives at once what was set last.
  virtual void setMessage(const std::string& message) = 0;
  virtual std::string message() const = 0;
};

// Makes a dialog float, gives it the keyboard and brings it to the front, whatever application is
// active: the agent is in the background. Any thread.
inline void displayDialog(Dialog& window) {
  window.makeFloatingKeyAndOrderFront();
  window.orderFrontRegardless();
}

// A dialog out of an interface file, with the button that its owner may give another title or
// another action.
class ButtonDialog : public Dialog {
 public:
  enum class Button { deleteButton, otherButton };
  // What it speaks of. Each kind has a pile of its own on the screen, in which the next window
  // waits for one to go; warnings lie in front of the others, and of the engine's errors one is
  // shown.
  enum class Kind { warning, notice, engineError };
  // Called on the main thread with the button that was pressed.
  using Action = std::function<void(Button)>;

  virtual void setDeleteButtonTitle(const std::string& title) = 0;
  virtual void setAction(Action action) = 0;
  // To be called before it is first shown. Without it a "WarningDialog" is a warning and every
  // other a notice.
  virtual void setKind(Kind kind) = 0;
  // Names the file that the window is about in a field of its own, apart from the message: in a
  // notice the file, in a warning about a symbolic link the file that the link leads to. Any bytes;
  // "" takes the field away.
  virtual void setSubject(const std::string& text) = 0;
  // What a warning shows of the infected file in place of its message, which is the engine's line:
  // the path, any bytes, and the name of the threat.
  virtual void setFind(const std::string& path, const std::string& threat) = 0;
  // Words the window for a file that is only suspected.
  virtual void setSuspicious(bool suspicious) = 0;
  // Says in the open window that what the user chose did not work, which screen readers read out at
  // once. The window stays as it is until it is dismissed; "" takes the line away.
  virtual void showFailure(const std::string& text) = 0;
};

class InterfaceLoader {
 public:
  virtual ~InterfaceLoader() = default;
  // A new dialog from the interface file of that name ("QuarantinedDialog", "WarningDialog"), not
  // yet shown; empty when the file cannot be loaded. Any thread; never waits for the main thread.
  virtual std::shared_ptr<ButtonDialog> load(const std::string& name) = 0;
};

}  // namespace quillo
