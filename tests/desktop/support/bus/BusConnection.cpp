#include "tests/desktop/support/bus/BusConnection.h"

#include <stdexcept>
#include <utility>

namespace quillo {
namespace {

GDBusConnection* connectTo(const std::string& address) {
  const auto flags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  GDBusConnection* const connection =
      g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
  if (!connection) {
    throw std::runtime_error("cannot connect to the bus at " + address);
  }
  return connection;
}

}  // namespace

BusConnection::BusConnection(const std::string& address) : connection_(connectTo(address)) {}

BusConnection::~BusConnection() {
  g_dbus_connection_close_sync(connection_, nullptr, nullptr);
  g_object_unref(connection_);
}

void BusConnection::ask(const char* interface, const char* method, GVariant* arguments) const {
  GVariant* const reply = g_dbus_connection_call_sync(
      connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", interface, method, arguments,
      nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  if (!reply) {
    throw std::runtime_error(std::string("the bus refuses ") + method);
  }
  g_variant_unref(reply);
}

BusTap::BusTap(const std::string& address, Listener listener)
    : listener_(std::move(listener)), connection_(address) {
  g_dbus_connection_add_filter(connection_.get(), filter, this, nullptr);
  const gchar* const everything[] = {nullptr};
  connection_.ask("org.freedesktop.DBus.Monitoring", "BecomeMonitor",
                  g_variant_new("(^asu)", everything, 0U));
}

GDBusMessage* BusTap::filter(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                             gpointer self) {
  // The answer to what this connection asked itself is not meant for the listener.
  const gchar* const own = g_dbus_connection_get_unique_name(connection);
  if (incoming == FALSE || g_strcmp0(g_dbus_message_get_destination(message), own) == 0) {
    return message;
  }
  static_cast<BusTap*>(self)->listener_(message);
  g_object_unref(message);
  return nullptr;
}

}  // namespace quillo
