#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "menu/StatusText.h"

namespace quillo {

// Numbers and times as people read them, in their language; a number alone is numberIn(). Any
// thread.

// Returns the text of `key`_ONE for 1, that of `key`_MANY for any other number, which stands for
// its first "%@", and `more` for those behind it.
std::string countedIn(LocalizedStrings& strings, const std::string& key, std::uint64_t number,
                      const std::vector<std::string>& more = {});
// Returns a moment in local time: "14:05" on the day of `now`, else "2026-03-01 14:05". `seconds`
// since 1970.
std::string momentText(std::int64_t seconds, std::chrono::system_clock::time_point now);
// Returns its day in local time: "2026-03-01".
std::string dayText(std::chrono::system_clock::time_point moment);
// Returns the whole days between then and now, 0 for what is to come.
std::uint64_t daysSince(std::int64_t seconds, std::chrono::system_clock::time_point now);

}  // namespace quillo
