#include "platform/linux/services/ActiveWindow.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "posix/Text.h"

namespace quillo {
namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

// Properties of one X11 connection's windows, as bytes; empty when not set.
class Properties {
 public:
  explicit Properties(xcb_connection_t* connection) : connection_(connection) {}

  std::string value(xcb_window_t window, const char* name) const {
    const auto asked = xcb_get_property(connection_, 0, window, atom(name),
                                        XCB_GET_PROPERTY_TYPE_ANY, 0, longestInWords);
    const std::unique_ptr<xcb_get_property_reply_t, Free> reply(
        xcb_get_property_reply(connection_, asked, nullptr));
    if (!reply) {
      return {};
    }
    const int length = xcb_get_property_value_length(reply.get());
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(length)};
  }

  std::uint32_t number(xcb_window_t window, const char* name) const {
    const std::string bytes = value(window, name);
    std::uint32_t result = 0;
    if (bytes.size() >= sizeof result) {
      std::memcpy(&result, bytes.data(), sizeof result);
    }
    return result;
  }

 private:
  static constexpr std::uint32_t longestInWords = 1024;

  xcb_atom_t atom(const char* name) const {
    const auto asked =
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(
        xcb_intern_atom_reply(connection_, asked, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
  }

  xcb_connection_t* connection_;
};

xcb_connection_t* connectionOfQt() {
  const auto* x11 =
      qGuiApp != nullptr ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
  return x11 != nullptr ? x11->connection() : nullptr;
}

}  // namespace

std::optional<ActiveWindow> ActiveWindow::current() {
  xcb_connection_t* const connection = connectionOfQt();
  if (connection == nullptr) {
    return std::nullopt;
  }
  const Properties properties(connection);
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  const xcb_window_t window = properties.number(root, "_NET_ACTIVE_WINDOW");
  if (window == XCB_WINDOW_NONE) {
    return std::nullopt;
  }
  ActiveWindow active;
  active.process = properties.number(window, "_NET_WM_PID");
  // WM_CLASS holds two strings, each with a zero byte behind it.
  for (const char* name : {"_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE", "WM_CLASS"}) {
    const std::string value = properties.value(window, name);
    for (const std::string_view piece : split(value, '\0')) {
      if (!piece.empty()) {
        active.names.emplace_back(piece);
      }
    }
  }
  return active;
}

bool ApplicationWindows::own(const ActiveWindow& window) const {
  if (window.process != 0 &&
      std::find(processes.begin(), processes.end(), window.process) != processes.end()) {
    return true;
  }
  return std::any_of(window.names.begin(), window.names.end(), [&](const std::string& name) {
    const std::string plain = lowercased(lastPathComponent(name));
    return plain == lowercased(identifier) || plain == lowercased(identifier) + ".desktop" ||
           (!windowClass.empty() && plain == lowercased(windowClass));
  });
}

}  // namespace quillo
