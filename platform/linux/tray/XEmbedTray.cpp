#include "platform/linux/tray/XEmbedTray.h"

#include <QGuiApplication>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace quillo {
namespace {

// Replies of xcb come from malloc(3).
template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
  return {reply, &std::free};
}

}  // namespace

std::unique_ptr<XEmbedTray> XEmbedTray::onThisDisplay(std::function<void()> arrived) {
  auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11 || !x11->connection()) {
    return nullptr;
  }
  return std::unique_ptr<XEmbedTray>(new XEmbedTray(x11->connection(), std::move(arrived)));
}

// Qt itself selects the root window's structure events, which bring the MANAGER message.
XEmbedTray::XEmbedTray(xcb_connection_t* connection, std::function<void()> arrived)
    : connection_(connection),
      selection_(atom("_NET_SYSTEM_TRAY_S0")),
      manager_(atom("MANAGER")),
      arrived_(std::move(arrived)) {
  qGuiApp->installNativeEventFilter(this);
}

XEmbedTray::~XEmbedTray() { qGuiApp->removeNativeEventFilter(this); }

bool XEmbedTray::isThere() const {
  const auto owner = owned(xcb_get_selection_owner_reply(
      connection_, xcb_get_selection_owner(connection_, selection_), nullptr));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

bool XEmbedTray::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
  if (eventType != "xcb_generic_event_t") {
    return false;
  }
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE) {
    const auto* note = static_cast<const xcb_client_message_event_t*>(message);
    if (note->type == manager_ && note->data.data32[1] == selection_) {
      arrived_();
    }
  }
  return false;
}

xcb_atom_t XEmbedTray::atom(const char* name) const {
  const auto length = static_cast<std::uint16_t>(std::strlen(name));
  const auto reply = owned(
      xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, length, name), nullptr));
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

}  // namespace quillo
