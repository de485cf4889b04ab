#pragma once

#include <gio/gio.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "benchmarks/face/Figures.h"

namespace bench {

// Sees every message of a session bus (D-Bus specification, BecomeMonitor) without taking part.
class BusMonitor {
 public:
  explicit BusMonitor(const std::string& address);
  ~BusMonitor();
  BusMonitor(const BusMonitor&) = delete;
  BusMonitor& operator=(const BusMonitor&) = delete;

  // Forgets what it has seen.
  void clear();
  // When the panel's watcher said that it has a status item, and the bus name that the item has.
  // Throws std::runtime_error when it does not within twenty seconds of the call.
  Milliseconds awaitStatusItem(std::string& name);
  // How many messages `name` sent, or were sent to it under that name.
  int messagesOf(const std::string& name);

 private:
  static GDBusMessage* see(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                           gpointer self);
  void note(GDBusMessage* message);

  GDBusConnection* connection_ = nullptr;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Milliseconds> registered_;
  std::string itemName_;
  std::map<std::string, int> messages_;
};

}  // namespace bench
