#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "menu/StatusText.h"
#include "posix/Condition.h"

namespace quillo {

// What the status menu asks of its owner. Any thread, but for the commands.
class ThrobberOwner {
 public:
  virtual ~ThrobberOwner() = default;
  // Read without a lock.
  virtual std::int32_t scannerCount() = 0;
  virtual void modifyScannerCountBy(std::int32_t delta) = 0;
  // All but what the status menu itself knows.
  virtual StatusFacts status() = 0;
  // Signalled at every change of the count.
  virtual Condition& throbberLock() = 0;
  // Main thread.
  virtual void restartWatcher() = 0;
  // A definition update has ended, well or not. Any thread.
  virtual void updateEnded() = 0;
  // The log of definition updates; absent when no preference names it. Main thread.
  virtual std::optional<std::string> updateLog() = 0;
};

}  // namespace quillo
