#pragma once

#include <string>

namespace quillo {

class Clock;
class LocalizedStrings;
class SystemLog;
class TypedPreferences;

// Why a store of this user cannot be used, in his words; "" where it can, or nobody asks for it.
// Any thread.

// Returns it of the history in the agent's own folder for what it remembers.
std::string historyProblemIn(const std::string& folder, Clock& clock, LocalizedStrings& strings);
// Returns it of the quarantine, which has to be there only where infected files are moved to it.
std::string quarantineProblemOf(const TypedPreferences& preferences, LocalizedStrings& strings,
                                SystemLog& log);

}  // namespace quillo
