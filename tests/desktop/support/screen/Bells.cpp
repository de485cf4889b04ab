#include "tests/desktop/support/screen/Bells.h"

#include <cstdlib>
#include <memory>

// A header for C, which names a member by a keyword of C++.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicitComponents
#include <xcb/xkb.h>
#undef explicit
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

namespace quillo {

Bells::Bells(xcb_connection_t* connection) {
  const std::unique_ptr<xcb_xkb_use_extension_reply_t, decltype(&std::free)> reply(
      xcb_xkb_use_extension_reply(connection, xcb_xkb_use_extension(connection, 1, 0), nullptr),
      &std::free);
  const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_xkb_id);
  if (!reply || !extension) {
    return;
  }
  eventCode_ = extension->first_event;
  constexpr std::uint16_t bell = XCB_XKB_EVENT_TYPE_BELL_NOTIFY;
  xcb_xkb_select_events(connection, XCB_XKB_ID_USE_CORE_KBD, bell, 0, bell, 0, 0, nullptr);
}

bool Bells::isBell(const xcb_generic_event_t& event) const {
  constexpr int sentByAnotherClient = 0x80;
  return eventCode_ != 0 && (event.response_type & ~sentByAnotherClient) == eventCode_ &&
         event.pad0 == XCB_XKB_BELL_NOTIFY;
}

}  // namespace quillo
