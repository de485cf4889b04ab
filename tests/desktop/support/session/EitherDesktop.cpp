#include "tests/desktop/support/session/EitherDesktop.h"

#include <unistd.h>

#include "posix/Text.h"

namespace quillo {

EitherDesktop::EitherDesktop(Kind kind, const std::string& home) {
  if (kind == Kind::x11) {
    auto made = std::make_unique<DesktopSession>(UserSession::User{home, 0});
    x11_ = made.get();
    session_ = std::move(made);
  } else {
    // sway runs for nobody who is root.
    auto made =
        std::make_unique<SwaySession>(UserSession::User{home, geteuid() == 0 ? 65534U : 0U});
    wayland_ = made.get();
    session_ = std::move(made);
  }
}

bool EitherDesktop::eventually(const std::function<bool()>& predicate) {
  return x11_ ? x11_->screen().eventually(predicate) : wayland_->eventually(predicate);
}

void EitherDesktop::press(const std::string& keys) {
  if (x11_) {
    x11_->press(keys);
    return;
  }
  std::vector<std::string> command = {"wtype"};
  std::vector<std::string> behind;
  const std::vector<std::string_view> parts = split(keys, '+');
  for (std::size_t at = 0; at + 1 < parts.size(); ++at) {
    command.insert(command.end(), {"-M", std::string(parts[at])});
    behind.insert(behind.end(), {"-m", std::string(parts[at])});
  }
  command.insert(command.end(), {"-k", std::string(parts.back())});
  command.insert(command.end(), behind.begin(), behind.end());
  session_->run(command);
}

void EitherDesktop::type(const std::string& text) {
  if (x11_) {
    session_->run({"xdotool", "type", text});
  } else {
    wayland_->type(text);
  }
}

}  // namespace quillo
