#pragma once

#include <string_view>

namespace quillo {

// The system log and the console, for diagnostics. Any thread; never fails, never blocks for long.
class SystemLog {
 public:
  virtual ~SystemLog() = default;
  // One message, without a line end; a line end at its own end is dropped.
  virtual void log(std::string_view message) = 0;
};

}  // namespace quillo
