#include "platform/linux/session/DisplayChoice.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <QByteArray>
#include <QDir>
#include <QLibraryInfo>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "posix/UniqueFd.h"

namespace quillo {
namespace {

// A stable beginning: programs that start the agent look for it.
const std::string beginning = "Neither icon nor windows can be shown: ";
constexpr const char* waylandPackage = "qt6-wayland";

constexpr timeval patience = {0, 500000};

// Returns a connection to the server of that name, an abstract one where it begins with a zero
// byte; none, with errno, when it does not take it in. A server that was stopped takes nobody in
// once its queue is full, and would hold the agent up for as long (EAGAIN then).
UniqueFd connectTo(const std::string& name) {
  sockaddr_un address = {AF_UNIX, {}};
  if (name.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return {};
  }
  name.copy(address.sun_path, name.size());
  const bool isAbstract = name.starts_with('\0');
  const std::size_t length =
      isAbstract ? offsetof(sockaddr_un, sun_path) + name.size() : sizeof address;
  UniqueFd connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
    setsockopt(connection.get(), SOL_SOCKET, option, &patience, sizeof patience);
  }
  if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address),
              static_cast<socklen_t>(length)) != 0) {
    const int error = errno;
    connection.reset();
    errno = error;
  }
  return connection;
}

bool isHeldUp(const std::string& name) { return !connectTo(name) && errno == EAGAIN; }

bool waylandAnswers(const Environment& environment, const std::string& display) {
  const std::string path = display.starts_with('/')
                               ? display
                               : environment.folder("XDG_RUNTIME_DIR").value_or("") + "/" + display;
  return !display.empty() && connectTo(path);
}

// Of a server on this machine: whether it would hold up whoever connects to it. Such displays are
// called ":0", "unix:0", or by the path of a socket.
bool isStuck(const std::string& display) {
  char* name = nullptr;
  int number = 0;
  if (xcb_parse_display(display.c_str(), &name, &number, nullptr) == 0) {
    return false;
  }
  const std::unique_ptr<char, decltype(&std::free)> owner(name, &std::free);
  const std::string host(name);
  if (host.starts_with('/')) {
    return isHeldUp(host) || isHeldUp(display);
  }
  if (!host.empty() && host != "unix") {
    return false;
  }
  const std::string path = "/tmp/.X11-unix/X" + std::to_string(number);
  const std::string abstractName = std::string(1, '\0') + path;
  return isHeldUp(path) || isHeldUp(abstractName);
}

bool x11Answers(const std::string& display) {
  if (display.empty() || isStuck(display)) {
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

constexpr std::string_view magic = "i3-ipc";
constexpr std::uint32_t runCommand = 0;
constexpr std::size_t headerSize = magic.size() + 2 * sizeof(std::uint32_t);
constexpr std::uint32_t longestAnswer = 4096;
constexpr std::string_view rule = R"(no_focus [app_id="^org\.vantrel\.VantrelQuillo$" floating])";

bool receive(int connection, char* to, std::size_t size) {
  return recv(connection, to, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

std::string answerTo(int connection, std::string_view command) {
  const std::array<std::uint32_t, 2> numbers = {static_cast<std::uint32_t>(command.size()),
                                                runCommand};
  std::string message(magic);
  message.append(reinterpret_cast<const char*>(numbers.data()), sizeof numbers);
  message += command;
  std::array<char, headerSize> header = {};
  std::uint32_t size = 0;
  if (send(connection, message.data(), message.size(), MSG_NOSIGNAL) !=
          static_cast<ssize_t>(message.size()) ||
      !receive(connection, header.data(), header.size())) {
    return "";
  }
  std::memcpy(&size, header.data() + magic.size(), sizeof size);
  std::string answer(size <= longestAnswer ? size : 0, '\0');
  return receive(connection, answer.data(), answer.size()) ? answer : "";
}

}  // namespace

DisplayFacts DisplayFacts::ofThisSession(const Environment& environment, bool comesUnasked) {
  DisplayFacts facts;
  facts.wayland = environment.value("WAYLAND_DISPLAY").value_or("");
  facts.x11 = environment.value("DISPLAY").value_or("");
  facts.waylandAnswers = quillo::waylandAnswers(environment, facts.wayland);
  facts.hasWaylandPlugin = hasPlugin("libqwayland-*.so");
  facts.hasX11Plugin = hasPlugin("libqxcb.so");
  facts.waylandLeavesFocus = facts.waylandAnswers && facts.hasWaylandPlugin &&
                             (!comesUnasked || keepFocusFromFloatingWindows());
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
  if (facts.waylandAnswers) {
    return {beginning + "Qt's plug-in for Wayland is missing (in Debian's package " +
                waylandPackage + "). Files are guarded all the same.",
            {"DISPLAY_PLUGIN_MISSING", {waylandPackage}}};
  }
  const std::string& display = facts.wayland.empty() ? facts.x11 : facts.wayland;
  return {beginning + "the display \"" + display +
              "\" does not answer. Files are guarded all the same.",
          {"DISPLAY_SILENT", {display}}};
}

bool keepFocusFromFloatingWindows() {
  const std::string path = qgetenv("SWAYSOCK").toStdString();
  const UniqueFd connection = path.empty() ? UniqueFd() : connectTo(path);
  if (!connection) {
    return false;
  }
  const std::string answer = answerTo(connection.get(), rule);
  return answer.find("\"success\": true") != std::string::npos ||
         answer.find("\"success\":true") != std::string::npos;
}

}  // namespace quillo
