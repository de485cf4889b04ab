#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "posix/ChildProcess.h"
#include "posix/UniqueFd.h"
#include "tests/desktop/support/session/UserSession.h"

namespace quillo {

// The program `desktop-interface` (tests/desktop/interface) on a desktop: takes commands and
// reports events, a line each.
class InterfaceProgram {
 public:
  // `variables` are added to the desktop's environment, "NAME=value".
  explicit InterfaceProgram(UserSession& session, const std::vector<std::string>& variables = {},
                            const std::string& statusItemLength = "-2",
                            const std::string& language = "en");

  void send(const std::string& command);
  // The next event that begins so, without that beginning; others before it are passed over. Throws
  // std::runtime_error when none comes within twenty seconds.
  std::string expect(const std::string& beginning);
  std::string ask(const std::string& command, const std::string& beginning) {
    send(command);
    return expect(beginning);
  }
  // Clicks on the middle of the topmost window's widget of that name.
  void clickOn(const std::string& objectName, const std::string& heldKey = "", int button = 1);

 private:
  std::string nextEvent();

  UserSession& session_;
  UniqueFd descriptor_;
  std::string unread_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace quillo
