#pragma once

#include <cstddef>
#include <string>

namespace bench {

// How much the history holds, and the quarantine.
inline constexpr int rowsOfHistory = 1'000'000;
inline constexpr int filesOfQuarantine = 10'000;

// Enters that many finds in a history, in the agent's own folder. Every one lies where it was.
void makeLongHistory(const std::string& folder);
// Puts that many files with their records into a quarantine folder.
void makeFullQuarantine(const std::string& folder);
// Enters 10,000 finds a second, a second's worth at once, for so many seconds.
void storm(const std::string& historyFolder, int seconds);

}  // namespace bench
