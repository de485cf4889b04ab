#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

namespace quillo {

// A connection to a message bus of its own, closed with this object. Throws std::runtime_error when
// there is no bus or it refuses something.
class BusConnection {
 public:
  explicit BusConnection(const std::string& address);
  ~BusConnection();
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  GDBusConnection* get() const { return connection_; }
  // Calls a method of the bus itself and waits for its answer. Takes the arguments.
  void ask(const char* interface, const char* method, GVariant* arguments) const;

 private:
  GDBusConnection* const connection_;
};

// Shows `listener` every message on a bus, whoever it is for
// (org.freedesktop.DBus.Monitoring.BecomeMonitor), on a thread of its own.
class BusTap {
 public:
  using Listener = std::function<void(GDBusMessage* message)>;

  BusTap(const std::string& address, Listener listener);
  BusTap(const BusTap&) = delete;
  BusTap& operator=(const BusTap&) = delete;

 private:
  static GDBusMessage* filter(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                              gpointer self);

  const Listener listener_;
  const BusConnection connection_;
};

}  // namespace quillo
