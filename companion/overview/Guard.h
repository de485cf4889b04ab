#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "platform/AgentLink.h"
#include "platform/LocalizedStrings.h"

namespace quillo {

// Whether a person is guarded, judged by what the agent says of itself.
struct Guard {
  enum class Sign {
    guarded,
    scanning,    // guarded, and files are being scanned
    attention,   // guarded, but not as well as it seems
    notGuarded,  // nothing new is scanned, or nothing would be found
    unknown      // it cannot be told
  };
  // The one thing that mends it.
  enum class Remedy {
    none,
    startAgent,
    startWatching,
    restartAgent,
    updateDefinitions,
    setUp,
    setUpEngine,
    chooseFolders,
    showFolders
  };

  Sign sign = Sign::unknown;
  Remedy remedy = Remedy::none;
  Wording sentence;
  Wording reason;  // why, and what to do; empty where there is nothing to say
};

// `presence` says what it means where there is no status. Any thread.
Guard judgeGuard(AgentPresence presence, const std::optional<AgentStatus>& status,
                 LocalizedStrings& strings, std::chrono::system_clock::time_point now);

// Returns "" while what lies in a guarded folder is scanned when it changes, "none" where no agent
// runs, "unknown" where that cannot be told, else the agent's state, or what keeps it from
// guarding. Any thread.
std::string watchingStateOf(AgentPresence presence, const std::optional<AgentStatus>& status,
                            LocalizedStrings& strings);

// Has those of the watched folders that are gone by now among the missing ones as well: the agent
// looks after them every few minutes only. Any thread.
AgentStatus withVanishedFolders(AgentStatus status,
                                const std::function<bool(const std::string& path)>& isGone);

}  // namespace quillo
