#pragma once

#include <string>

class QWidget;

namespace quillo {

// A desktop lets a window come to the front for whoever can tell that its user asked for it. Main
// thread.

// Under Wayland the next window to be raised is raised with that token (XDG Activation,
// freedesktop.org); "" for none.
void expectActivation(const std::string& token);
// Under X11 the window manager is asked to make the window the active one, as of the time in a
// startup identifier ("..._TIME1234", Startup Notification, freedesktop.org; _NET_ACTIVE_WINDOW,
// Extended Window Manager Hints 1.5). Does nothing without that.
void activateAsAsked(QWidget& window, const std::string& startupId);

}  // namespace quillo
