#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "companion/definitions/DefinitionPlace.h"
#include "companion/definitions/DefinitionUpdate.h"
#include "companion/overview/RecentCounts.h"
#include "platform/AgentLink.h"

namespace quillo {

class LocalizedStrings;

// The facts behind the overview in sentences, for window and command line alike. Any thread.
class OverviewText {
 public:
  OverviewText(LocalizedStrings& strings, std::chrono::system_clock::time_point now)
      : strings_(strings), now_(now) {}

  // Since when folders are watched; "" while none is.
  std::string watching(const std::optional<AgentStatus>& status) const;
  // What is scanned, and since when.
  std::string scanning(const std::optional<AgentStatus>& status) const;
  // How old the definitions are, and who keeps them.
  std::string definitions(const DefinitionPlace& place) const;
  std::string found(const RecentCounts::Counts& counts) const;
  std::string notScanned(const RecentCounts::Counts& counts) const;
  // Why the agent keeps no history; "" while it does.
  std::string history(const std::optional<AgentStatus>& status) const;
  // How an update goes, or what it came to; "" before there was one.
  std::string update(const DefinitionUpdate::State& state) const;

 private:
  std::string text(const std::string& key) const;
  std::string since(std::int64_t seconds) const;

  LocalizedStrings& strings_;
  const std::chrono::system_clock::time_point now_;
};

// Returns the definitions that count: those that the agent says its daemon has, else those of the
// engine whose folder this is.
DefinitionPlace definitionsInUse(const std::optional<AgentStatus>& status,
                                 const std::string& engine);

}  // namespace quillo
