#include "tests/desktop/support/BusMonitor.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace quillo {
namespace {

constexpr auto patience = std::chrono::seconds(20);
constexpr const char* bus = "org.freedesktop.DBus";

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

void ask(GDBusConnection* connection, const char* interface, const char* method,
         GVariant* arguments) {
  GVariant* const reply =
      g_dbus_connection_call_sync(connection, bus, "/org/freedesktop/DBus", interface, method,
                                  arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  if (!reply) {
    throw std::runtime_error(std::string("the bus refuses ") + method);
  }
  g_variant_unref(reply);
}

void end(GDBusConnection* connection) {
  g_dbus_connection_close_sync(connection, nullptr, nullptr);
  g_object_unref(connection);
}

}  // namespace

BusMonitor::BusMonitor(const std::string& address) : connection_(connectTo(address)) {
  g_dbus_connection_add_filter(connection_, filter, this, nullptr);
  const gchar* const everything[] = {nullptr};
  ask(connection_, "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
      g_variant_new("(^asu)", everything, 0U));
}

BusMonitor::~BusMonitor() { end(connection_); }

GDBusMessage* BusMonitor::filter(GDBusConnection*, GDBusMessage* message, gboolean incoming,
                                 gpointer self) {
  const gchar* const member = g_dbus_message_get_member(message);
  if (incoming == FALSE || !member) {
    return message;
  }
  Message heard{member, ""};
  if (GVariant* const body = g_dbus_message_get_body(message)) {
    gchar* const text = g_variant_print(body, FALSE);
    heard.arguments = text;
    g_free(text);
  }
  auto* const monitor = static_cast<BusMonitor*>(self);
  {
    const std::lock_guard lock(monitor->mutex_);
    monitor->messages_.push_back(std::move(heard));
  }
  monitor->heard_.notify_all();
  // Nothing of it is meant for this connection.
  g_object_unref(message);
  return nullptr;
}

bool BusMonitor::hears(const std::string& member, const std::string& text, int times) {
  std::unique_lock lock(mutex_);
  return heard_.wait_for(lock, patience, [&] { return countLocked(member, text) >= times; });
}

int BusMonitor::count(const std::string& member, const std::string& text) {
  const std::lock_guard lock(mutex_);
  return countLocked(member, text);
}

int BusMonitor::countLocked(const std::string& member, const std::string& text) const {
  int count = 0;
  for (const Message& message : messages_) {
    const bool isIt = message.member == member && message.arguments.find(text) != std::string::npos;
    count += isIt ? 1 : 0;
  }
  return count;
}

StandInService::StandInService(const std::string& address, const std::string& name, Answers answers)
    : answers_(std::move(answers)), connection_(connectTo(address)) {
  g_dbus_connection_add_filter(connection_, answer, this, nullptr);
  const guint withoutQueue = 4;
  ask(connection_, bus, "RequestName", g_variant_new("(su)", name.c_str(), withoutQueue));
}

StandInService::~StandInService() { end(connection_); }

// Runs on the connection's own thread.
GDBusMessage* StandInService::answer(GDBusConnection* connection, GDBusMessage* message,
                                     gboolean incoming, gpointer self) {
  if (incoming == FALSE ||
      g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) {
    return message;
  }
  const Answers& answers = static_cast<StandInService*>(self)->answers_;
  const auto found = answers.find(g_dbus_message_get_member(message));
  GDBusMessage* const reply = g_dbus_message_new_method_reply(message);
  if (found != answers.end()) {
    g_dbus_message_set_body(
        reply, g_variant_parse(nullptr, found->second.c_str(), nullptr, nullptr, nullptr));
  }
  g_dbus_connection_send_message(connection, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                 nullptr);
  g_object_unref(reply);
  g_object_unref(message);
  return nullptr;
}

}  // namespace quillo
