#pragma once

#include <xcb/xcb.h>

#include <cstdint>

namespace quillo {

// The bell of an X display (X Keyboard Extension, BellNotify): what a program's beep comes to.
class Bells {
 public:
  // From now on the connection's events report it.
  explicit Bells(xcb_connection_t* connection);
  bool isBell(const xcb_generic_event_t& event) const;

 private:
  std::uint8_t eventCode_ = 0;
};

}  // namespace quillo
