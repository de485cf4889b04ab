#pragma once

#include "agent/Watching.h"
#include "menu/StatusText.h"
#include "platform/AgentLink.h"

namespace quillo {

class Preferences;
class RecentTotals;
class StatusBoard;
class Throbber;
class WatchList;

// What the agent says of itself to whoever asks it over the desktop. Main thread.
class StatusReport {
 public:
  struct Parts {
    Throbber& mainMenu;
    StatusBoard& statusBoard;
    const WatchList& watchList;
    const Watching& watching;
    const Preferences& preferences;
    RecentTotals& recentTotals;
  };
  explicit StatusReport(const Parts& parts) : parts_(parts) {}

  AgentStatus status() const;

 private:
  const Parts parts_;
};

// Return the names under which these stand in AgentStatus. Pure.
const char* nameOf(Watching::State state);
const char* nameOf(Attention attention);

}  // namespace quillo
