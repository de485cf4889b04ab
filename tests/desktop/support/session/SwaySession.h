#pragma once

#include <QImage>
#include <QRect>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/desktop/support/screen/SwayIpc.h"
#include "tests/desktop/support/session/UserSession.h"

namespace quillo {

// A tiling Wayland desktop of its own for a test: sway without a monitor, a session bus, and on
// demand a bar with a place for status items (waybar) and a notification server (mako). All of it
// ends with the object. Places are pixels of the desktop, whatever its scale.
class SwaySession final : public UserSession {
 public:
  struct Options {
    int scale = 1;
    // There is an X server for programs that know no better.
    bool hasXwayland = false;
    // More lines for sway's configuration.
    std::string configuration = {};
  };
  // What sway reports of a window.
  struct Window {
    std::string title;
    // The Wayland application id, or the class of an X11 window.
    std::string application;
    QRect area;
    bool isFloating = false;
    bool isFocused = false;
    bool isX11 = false;
  };

  // Of the monitor.
  static constexpr int width = 1280;
  static constexpr int height = 800;

  // Throws std::runtime_error when one of its programs is missing or does not come up.
  SwaySession() : SwaySession(User(), Options()) {}
  explicit SwaySession(const User& user) : SwaySession(user, Options()) {}
  SwaySession(const User& user, const Options& options);

  SwayIpc& sway() { return *ipc_; }
  // Pixels of the monitor in one of the desktop's.
  int scale() const { return options_.scale; }
  // The room for windows and the bar.
  QSize size() const { return QSize(width, height) / options_.scale; }

  // Returns true once the predicate holds: asks at first, and again whenever a window came, went or
  // changed, and some times a second, for at most twenty seconds.
  bool eventually(const std::function<bool()>& predicate);

  std::vector<Window> windows();
  // The topmost of that title.
  std::optional<Window> window(const std::string& title);
  bool showsWindows(std::size_t count, const std::string& title);
  // Pixels of the monitor.
  QImage picture();
  // Where pixels of exactly that colour are within the area; empty when there is none.
  std::optional<QRect> find(QRgb colour, const QRect& area);

  void startBar();
  void stopBar();
  void startNotificationServer();

  // The user's hands: a pointer, and wtype(1).
  void pointTo(int x, int y);
  void click(int x, int y, int button = 1, const std::string& heldKey = "") override;
  void type(const std::string& text);
  // By its name in xkbcommon, such as "Return".
  void press(const std::string& key);

  void keepPicture(const std::string& name) override;

 private:
  void configure();

  const Options options_;
  std::unique_ptr<ChildProcess> compositor_;
  std::unique_ptr<SwayIpc> ipc_;
  std::unique_ptr<WaylandPointer> pointer_;
  std::unique_ptr<ChildProcess> keyboard_;
  std::unique_ptr<ChildProcess> bar_;
  std::unique_ptr<ChildProcess> notificationServer_;
};

}  // namespace quillo
