#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/desktop/support/bus/BusConnection.h"
#include "tests/desktop/support/session/UserSession.h"

namespace quillo {

// What the windows of a session say to a screen reader (AT-SPI 2, over D-Bus), of the programs that
// are started with variable() after this object was made.
class ShownWords {
 public:
  // A widget or a cell that is to be seen.
  struct Part {
    std::string role;  // as "push button"
    std::string name;
    std::string text;  // of fields and of labels with their own name
    std::string description;
    bool isEnabled = false;
    bool isFocused = false;
    bool isChecked = false;
  };

  // Throws std::runtime_error when the session gets no bus for it.
  explicit ShownWords(UserSession& session);

  // In the environment of a program that Qt is to describe.
  static const char* variable() { return "QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1"; }

  std::vector<Part> parts();
  // Returns true when something that is shown holds those words.
  bool say(const std::string& words);
  // Returns true when a button of that name is shown that can be pressed.
  bool offer(const std::string& button);
  // Returns true when something of that name has the keyboard.
  bool hasKeyboard(const std::string& name);
  // The window that the desktop has given the keyboard; nothing when that is another program's.
  std::optional<Part> activeWindow();
  // What of it has the keyboard, by role, name and text; "" for nothing.
  std::string keyboardIsAt();
  // A line for each part, for who looks into a failure.
  std::string all();

 private:
  struct Node {
    std::string owner;
    std::string path;
  };

  // Null when the node is gone meanwhile.
  GVariant* call(const Node& node, const char* interface, const char* method, GVariant* arguments);
  std::string property(const Node& node, const char* name);
  std::string wordsOf(const Node& node);
  // Bits of AtspiStateType; nothing when the node is gone.
  std::optional<unsigned> statesOf(const Node& node);
  std::string roleOf(const Node& node);
  std::vector<Node> childrenOf(const Node& node);
  void collect(const Node& node, std::vector<Part>& found);

  std::unique_ptr<ChildProcess> launcher_;
  std::optional<BusConnection> connection_;
};

}  // namespace quillo
