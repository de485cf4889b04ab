#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/desktop/support/screen/Screen.h"
#include "tests/desktop/support/session/UserSession.h"

namespace quillo {

// A whole desktop of its own for a test: an X server without a monitor (Xvfb), a session bus, a
// window manager (openbox), and on demand a panel with a place for status items (xfce4-panel) and a
// notification server (dunst). All of it ends with the object.
class DesktopSession final : public UserSession {
 public:
  static constexpr int width = 1024;
  static constexpr int height = 768;

  // Throws std::runtime_error when one of its programs is missing or does not come up.
  DesktopSession() : DesktopSession(User()) {}
  explicit DesktopSession(const User& user);

  Screen& screen() { return *screen_; }
  void startPanel();
  void stopPanel();
  void startNotificationServer();

  // The user's hand (xdotool(1)), in pixels of the screen.
  void click(int x, int y, int button = 1, const std::string& heldKey = "") override;
  void pointTo(int x, int y);
  void press(const std::string& keys);
  void keepPicture(const std::string& name) override;

 private:
  // Ended in reverse.
  std::unique_ptr<ChildProcess> server_;
  std::unique_ptr<Screen> screen_;
  std::unique_ptr<ChildProcess> windowManager_;
  std::unique_ptr<ChildProcess> panel_;
  std::unique_ptr<ChildProcess> notificationServer_;
};

}  // namespace quillo
