#include "platform/linux/pages/WindowActivation.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWidget>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace quillo {
namespace {

constexpr std::uint32_t fromApplication = 1;

xcb_atom_t atomOf(xcb_connection_t* connection, std::string_view name) {
  const auto asked =
      xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, asked, nullptr), &std::free);
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

// 0 where it names none.
std::uint32_t timeIn(const std::string& startupId) {
  constexpr std::string_view mark = "_TIME";
  const std::size_t at = startupId.rfind(mark);
  return at == std::string::npos ? 0
                                 : static_cast<std::uint32_t>(std::strtoul(
                                       startupId.c_str() + at + mark.size(), nullptr, 10));
}

}  // namespace

// Qt hands it on with the next request to be activated, and forgets it.
void expectActivation(const std::string& token) {
  if (!token.empty()) {
    qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(token));
  }
}

void activateAsAsked(QWidget& window, const std::string& startupId) {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  const std::uint32_t time = timeIn(startupId);
  if (!x11 || time == 0) {
    return;
  }
  xcb_connection_t* const connection = x11->connection();
  xcb_client_message_event_t event = {};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = static_cast<xcb_window_t>(window.winId());
  event.type = atomOf(connection, "_NET_ACTIVE_WINDOW");
  event.data.data32[0] = fromApplication;
  event.data.data32[1] = time;
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  xcb_send_event(connection, 0, root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(connection);
}

}  // namespace quillo
