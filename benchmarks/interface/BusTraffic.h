#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "benchmarks/interface/Figures.h"
#include "tests/desktop/support/bus/BusConnection.h"

namespace bench {

// Counts every message of a session bus, without taking part.
class BusTraffic {
 public:
  explicit BusTraffic(const std::string& address);

  // Forgets what it has seen.
  void clear();
  // When the panel's watcher said that it has a status item, and the bus name that the item has.
  // Throws std::runtime_error when it does not within twenty seconds of the call.
  Milliseconds awaitStatusItem(std::string& name);
  // How many messages `name` sent, or were sent to it under that name.
  int messagesOf(const std::string& name);

 private:
  void note(GDBusMessage* message);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Milliseconds> registered_;
  std::string itemName_;
  std::map<std::string, int> messages_;
  const quillo::BusTap tap_;
};

}  // namespace bench
