#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tests/desktop/support/session/DesktopSession.h"
#include "tests/desktop/support/session/SwaySession.h"

namespace quillo {

// A desktop under X11 or under Wayland, whose user has a keyboard and nothing else.
class EitherDesktop {
 public:
  enum class Kind { x11, wayland };

  // `home` is an existing folder; all that there is in it becomes the user's.
  EitherDesktop(Kind kind, const std::string& home);

  UserSession& session() { return *session_; }
  // As the operation of this name of either.
  bool eventually(const std::function<bool()>& predicate);
  // A key with those that are held meanwhile, as "ctrl+Tab".
  void press(const std::string& keys);
  void type(const std::string& text);

 private:
  std::unique_ptr<UserSession> session_;
  DesktopSession* x11_ = nullptr;
  SwaySession* wayland_ = nullptr;
};

}  // namespace quillo
