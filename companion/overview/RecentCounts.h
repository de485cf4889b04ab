#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace quillo {

// How much the history holds since a moment.
class RecentCounts {
 public:
  struct Counts {
    std::uint64_t found = 0;
    std::uint64_t notScanned = 0;
    // Why it cannot be said, in words for people; "" where it can.
    std::string problem = {};
    // When the oldest of what is kept was entered; nothing where nothing is kept.
    std::optional<std::chrono::system_clock::time_point> begins = {};
  };

  virtual ~RecentCounts() = default;
  // Takes longer the more there is. One thread at a time.
  virtual Counts countsSince(std::chrono::system_clock::time_point since) = 0;
};

// How far back it is looked for what was found lately.
inline constexpr std::chrono::hours recently(30 * 24);

}  // namespace quillo
