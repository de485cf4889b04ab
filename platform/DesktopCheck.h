#pragma once

#include <optional>
#include <string>

namespace quillo {

// What a desktop offers the agent, as it is at one moment.
struct DesktopFacts {
  enum class Autostart {
    on,       // the agent is started at log-in
    missing,  // there is no entry for it
    off,      // the entry says not to
    unknown
  };

  // There is a bus of the session.
  bool hasBus = false;
  // Nothing where it cannot be told.
  std::optional<bool> showsStatusItems;
  std::optional<bool> showsNotifications;
  Autostart autostart = Autostart::unknown;
  std::string autostartEntry;  // the file that decides it; bytes
};

// Looks at the desktop.
class DesktopCheck {
 public:
  virtual ~DesktopCheck() = default;
  // Waits for the bus, some seconds at most. Main thread.
  virtual DesktopFacts look() = 0;
};

}  // namespace quillo
