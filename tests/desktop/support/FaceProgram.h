#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "posix/ChildProcess.h"
#include "posix/UniqueFd.h"
#include "tests/desktop/support/UserSession.h"

namespace quillo {

// The program `face` (tests/desktop/face) on a desktop: is told what to do, a line a time, and
// tells what happens.
class FaceProgram {
 public:
  // `variables` are added to the desktop's environment, "NAME=value".
  explicit FaceProgram(UserSession& session, const std::vector<std::string>& variables = {},
                       const std::string& statusItemLength = "-2",
                       const std::string& language = "en");

  void tell(const std::string& command);
  // The next event that begins so, without that beginning; others before it are passed over. Throws
  // std::runtime_error when none comes within twenty seconds.
  std::string expect(const std::string& beginning);
  std::string ask(const std::string& command, const std::string& beginning) {
    tell(command);
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
