#include "benchmarks/face/BusMonitor.h"

#include <stdexcept>

namespace bench {
namespace {

constexpr auto patience = std::chrono::seconds(20);

std::string orNothing(const gchar* text) { return text ? text : ""; }

}  // namespace

BusMonitor::BusMonitor(const std::string& address) {
  const auto flags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  connection_ =
      g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
  GVariant* reply = connection_ ? g_dbus_connection_call_sync(
                                      connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                      "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
                                      g_variant_new("(asu)", nullptr, 0U), nullptr,
                                      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr)
                                : nullptr;
  if (!reply) {
    throw std::runtime_error("cannot monitor the session bus at " + address);
  }
  g_variant_unref(reply);
  g_dbus_connection_add_filter(connection_, see, this, nullptr);
}

BusMonitor::~BusMonitor() {
  g_dbus_connection_close_sync(connection_, nullptr, nullptr);
  g_object_unref(connection_);
}

GDBusMessage* BusMonitor::see(GDBusConnection*, GDBusMessage* message, gboolean incoming,
                              gpointer self) {
  if (incoming) {
    static_cast<BusMonitor*>(self)->note(message);
  }
  g_object_unref(message);
  return nullptr;
}

void BusMonitor::note(GDBusMessage* message) {
  const std::lock_guard hold(mutex_);
  const std::string member = orNothing(g_dbus_message_get_member(message));
  ++messages_[orNothing(g_dbus_message_get_sender(message))];
  ++messages_[orNothing(g_dbus_message_get_destination(message))];
  if (member == "StatusNotifierItemRegistered" && !registered_) {
    registered_ = now();
    itemName_ = orNothing(g_dbus_message_get_arg0(message));
    itemName_ = itemName_.substr(0, itemName_.find('/'));
    changed_.notify_all();
  }
}

void BusMonitor::clear() {
  const std::lock_guard hold(mutex_);
  registered_.reset();
  messages_.clear();
}

Milliseconds BusMonitor::awaitStatusItem(std::string& name) {
  std::unique_lock hold(mutex_);
  if (!changed_.wait_for(hold, patience, [this] { return registered_.has_value(); })) {
    throw std::runtime_error("no status item appeared");
  }
  name = itemName_;
  return *registered_;
}

int BusMonitor::messagesOf(const std::string& name) {
  const std::lock_guard hold(mutex_);
  return messages_[name];
}

}  // namespace bench
