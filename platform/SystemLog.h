#pragma once

#include <string_view>

namespace quillo {

// The system log and the console, for diagnostics. Any thread; never fails, never blocks for long.
class SystemLog {
 public:
  virtual ~SystemLog() = default;
  // Logs one message; a line end at its end is dropped.
  virtual void log(std::string_view message) = 0;
};

}  // namespace quillo
