#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quillo {

// A window with a message. Any thread, unless said otherwise; changes are shown soon, in the order
// in which they were made, and no caller waits for the main thread.
class Dialog {
 public:
  virtual ~Dialog() = default;
  // Shows it above the windows of other applications, whichever is active.
  virtual void orderFrontRegardless() = 0;
  // Shows it above the agent's other windows, with the keyboard.
  virtual void makeFloatingKeyAndOrderFront() = 0;
  virtual void orderOut() = 0;
  // Takes it off the screen for good and releases its resources.
  virtual void close() = 0;
  // Sets the message field. message() returns what was set last, shown or not.
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
  // What the window is about. Each kind has a pile of its own on the screen, in which the next
  // window waits for one to go; warnings lie in front of the others, and of the engine's errors one
  // is shown.
  enum class Kind { warning, notice, engineError };
  // Called on the main thread with the button that was pressed.
  using Action = std::function<void(Button)>;

  virtual void setDeleteButtonTitle(const std::string& title) = 0;
  virtual void setAction(Action action) = 0;
  // Sets the kind, before the window is first shown. Without it a "WarningDialog" is a warning and
  // every other window a notice.
  virtual void setKind(Kind kind) = 0;
  // Shows the file concerned in a field of its own: in a notice the file, in a warning about a
  // symbolic link the file that the link leads to. Any bytes; "" hides the field.
  virtual void setSubject(const std::string& text) = 0;
  // Has a warning show path and threat of the infected file in place of its message, the engine's
  // line. `path` is any bytes.
  virtual void setFind(const std::string& path, const std::string& threat) = 0;
  // Chooses the wording for a file that is only suspected.
  virtual void setSuspicious(bool suspicious) = 0;
  // Shows in the open window that what the user chose failed; screen readers read it out at once.
  // The window stays until it is dismissed; "" hides the line.
  virtual void showFailure(const std::string& text) = 0;
};

class InterfaceLoader {
 public:
  virtual ~InterfaceLoader() = default;
  // Returns a new dialog, not yet shown, from the interface file of that name ("QuarantinedDialog",
  // "WarningDialog"); null when the file cannot be loaded. Any thread; never waits for the main
  // thread.
  virtual std::shared_ptr<ButtonDialog> load(const std::string& name) = 0;
};

}  // namespace quillo
