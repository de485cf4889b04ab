#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace quillo {

// The system log and the console, for diagnostics. Any thread; never fails, never blocks for long.
class SystemLog {
 public:
  virtual ~SystemLog() = default;
  // Logs one message; a line end at its end is dropped.
  virtual void log(std::string_view message) = 0;
};

// Logs what failed, behind who it was and a few words, where nothing may fail any more: a message
// that there is no memory for is left out. Any thread.
inline void logFailure(SystemLog& log, std::string_view who, std::string_view words,
                       const std::exception& failure) noexcept {
  try {
    log.log(std::string(who).append(words).append(failure.what()));
  } catch (...) {
  }
}

}  // namespace quillo
