#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillo {

// The window that has the user's attention, as X11's window manager has it (Extended Window Manager
// Hints 1.5, _NET_ACTIVE_WINDOW).
struct ActiveWindow {
  // What its application calls itself, the most specific name first.
  std::vector<std::string> names;
  // The process that says it made the window; 0 when none does.
  unsigned int process = 0;

  // Returns nothing where there is no X11 or no window manager that says so. Main thread.
  static std::optional<ActiveWindow> current();
};

// What is known of an application's windows. A name may be its identifier, also as that of its
// desktop file, or its window class; letters' case does not count. Pure.
struct ApplicationWindows {
  std::string identifier;
  std::string windowClass;
  std::vector<unsigned int> processes;

  bool own(const ActiveWindow& window) const;
};

}  // namespace quillo
