#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "posix/Clock.h"

namespace quillo {

// Keeps a log readable and small when something fails again and again: a line that was written
// within the last minute is counted instead, and told of once the minute is over, also when several
// such lines alternate. Remembers a bounded number of lines. Not for sharing between threads.
class RepeatFilter {
 public:
  static constexpr Clock::Duration window = std::chrono::minutes(1);
  static constexpr std::size_t mostLines = 64;

  explicit RepeatFilter(Clock& clock) : clock_(clock) {}

  // What is to be written now that `line` has come, in order: "… (repeated 4,213 times)" of earlier
  // lines, then `line` itself unless it is counted.
  std::vector<std::string> pass(std::string_view line);
  // What was counted and whose minute is over.
  std::vector<std::string> takeDue();
  // Everything that was counted and not told yet.
  std::vector<std::string> takeAll();

 private:
  struct Entry {
    std::string line;
    Clock::Duration written;
    std::uint64_t repeats = 0;
  };

  std::vector<std::string> take(bool all);

  Clock& clock_;
  // Oldest first.
  std::vector<Entry> entries_;
};

}  // namespace quillo
