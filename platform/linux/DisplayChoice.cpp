#include "platform/linux/DisplayChoice.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <QDir>
#include <QLibraryInfo>
#include <algorithm>

#include "platform/linux/SwayFocus.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

// A stable beginning: programs that start the agent look for it.
const std::string beginning = "Neither icon nor windows can be shown: ";
constexpr const char* waylandPackage = "qt6-wayland";

bool waylandAnswers(const Environment& environment, const std::string& display) {
  const std::string path = display.starts_with('/')
                               ? display
                               : environment.folder("XDG_RUNTIME_DIR").value_or("") + "/" + display;
  sockaddr_un address = {AF_UNIX, {}};
  if (display.empty() || path.size() >= sizeof address.sun_path) {
    return false;
  }
  path.copy(address.sun_path, path.size());
  const UniqueFd connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
         0;
}

bool x11Answers(const std::string& display) {
  if (display.empty()) {
    return false;
  }
  xcb_connection_t* connection = xcb_connect(display.c_str(), nullptr);
  const bool answers = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return answers;
}

bool hasPlugin(const char* pattern) {
  QStringList folders = {QLibraryInfo::path(QLibraryInfo::PluginsPath)};
  folders +=
      qEnvironmentVariable("QT_PLUGIN_PATH").split(QDir::listSeparator(), Qt::SkipEmptyParts);
  return std::any_of(folders.begin(), folders.end(), [&](const QString& folder) {
    return !QDir(folder + "/platforms").entryList({pattern}, QDir::Files).isEmpty();
  });
}

}  // namespace

DisplayFacts DisplayFacts::ofThisSession(const Environment& environment) {
  DisplayFacts facts;
  facts.wayland = environment.value("WAYLAND_DISPLAY").value_or("");
  facts.x11 = environment.value("DISPLAY").value_or("");
  facts.waylandAnswers = quillo::waylandAnswers(environment, facts.wayland);
  facts.hasWaylandPlugin = hasPlugin("libqwayland-*.so");
  facts.hasX11Plugin = hasPlugin("libqxcb.so");
  facts.waylandLeavesFocus =
      facts.waylandAnswers && facts.hasWaylandPlugin && keepFocusFromFloatingWindows();
  // Xwayland is not started for nothing.
  facts.x11Answers = !facts.waylandLeavesFocus && quillo::x11Answers(facts.x11);
  return facts;
}

std::string platformPluginsFor(const DisplayFacts& facts) {
  const bool hasX11 = facts.x11Answers && facts.hasX11Plugin;
  const bool hasWayland = facts.waylandAnswers && facts.hasWaylandPlugin;
  std::string plugins = "offscreen";
  if (hasX11) {
    plugins.insert(0, "xcb;");
  }
  if (hasWayland) {
    plugins.insert(hasX11 && !facts.waylandLeavesFocus ? std::string("xcb;").size() : 0,
                   "wayland;");
  }
  return plugins;
}

DisplayProblem displayProblem(const DisplayFacts& facts) {
  if (facts.wayland.empty() && facts.x11.empty()) {
    return {beginning + "this session has no display. Files are guarded all the same.",
            {"DISPLAY_MISSING", {}}};
  }
  if (facts.waylandAnswers && !facts.hasWaylandPlugin) {
    return {beginning + "Qt's plug-in for Wayland is missing (in Debian's package " +
                waylandPackage + "). Files are guarded all the same.",
            {"DISPLAY_PLUGIN_MISSING", {waylandPackage}}};
  }
  const std::string& display = facts.wayland.empty() ? facts.x11 : facts.wayland;
  return {beginning + "the display \"" + display +
              "\" does not answer. Files are guarded all the same.",
          {"DISPLAY_SILENT", {display}}};
}

}  // namespace quillo
