#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace quillo {

class AgentLink;
class Clock;
class LocalizedStrings;
class RecentCounts;
class TypedPreferences;

// The services that the command uses.
struct StatusCommandServices {
  AgentLink& agent;
  Clock& clock;
  LocalizedStrings& strings;
  const TypedPreferences& preferences;
  RecentCounts& counts;
  // Returns true when nothing is at that path, not when its user may not look there.
  std::function<bool(const std::string& path)> isGone;
};

// `vantrel status [--json]`: says whether its user is guarded, in one sentence, then the facts.
// `words` are those behind "status". Returns the exit status: 0 guarded, 1 not guarded or something
// needs attention, 2 when it cannot be told or the words are not understood. docs/json.md has the
// document. Main thread; waits for the agent's answer.
int runStatusCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                     const StatusCommandServices& services);

}  // namespace quillo
