#pragma once

#include <chrono>
#include <optional>

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
    installEngine,
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

}  // namespace quillo
