#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/Clock.h"

namespace quillo {

// Keeps a log readable and small when something fails again and again: of a line that comes more
// often than that within a minute of its first time, the rest is counted instead, and logged once
// the minute is over, also when several such lines alternate. Remembers a bounded number of lines.
// Not for sharing between threads.
class RepeatFilter {
 public:
  static constexpr Clock::Duration window = std::chrono::minutes(1);
  // Written each, behind the first.
  static constexpr std::uint64_t repeatsWritten = 5;
  static constexpr std::size_t mostLines = 64;
  using Predicate = bool (*)(std::string_view line);

  // A line for which `isNeverCounted` returns true is always written.
  explicit RepeatFilter(Clock& clock, Predicate isNeverCounted = nullptr)
      : clock_(clock), isNeverCounted_(isNeverCounted) {}

  // Returns what is to be written now that `line` has come, in order: "… (repeated 4,213 times)" of
  // earlier lines, then `line` itself unless it is counted.
  std::vector<std::string> pass(std::string_view line);
  // Returns what was counted and whose minute is over.
  std::vector<std::string> takeDue();
  // Returns everything that was counted and not logged yet.
  std::vector<std::string> takeAll();

 private:
  struct Entry {
    std::string line;
    Clock::Duration first;
    std::uint64_t written = 1;
    std::uint64_t counted = 0;
  };

  std::vector<std::string> take(bool all);

  Clock& clock_;
  const Predicate isNeverCounted_;
  // Oldest first.
  std::vector<Entry> entries_;
};

}  // namespace quillo
