#include "tests/desktop/support/bus/BusConnection.h"

#include <chrono>
#include <stdexcept>
#include <utility>

#include "tests/support/Waiting.h"

namespace quillo {
namespace {

GDBusConnection* openBus(const std::string& address) {
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

BusConnection::BusConnection(const std::string& address) : connection_(openBus(address)) {}

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

BusMonitor::BusMonitor(const std::string& address)
    : tap_(address, [this](GDBusMessage* message) { note(message); }) {}

void BusMonitor::note(GDBusMessage* message) {
  const gchar* const member = g_dbus_message_get_member(message);
  if (!member) {
    return;
  }
  Message heard{member, ""};
  if (GVariant* const body = g_dbus_message_get_body(message)) {
    gchar* const text = g_variant_print(body, FALSE);
    heard.arguments = text;
    g_free(text);
  }
  const std::lock_guard lock(mutex_);
  messages_.push_back(std::move(heard));
  heard_.notify_all();
}

bool BusMonitor::hears(const std::string& member, const std::string& text, int times) {
  std::unique_lock lock(mutex_);
  return heard_.wait_for(lock, longestWait, [&] { return countLocked(member, text) >= times; });
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
    : answers_(std::move(answers)), connection_(address) {
  g_dbus_connection_add_filter(connection_.get(), answer, this, nullptr);
  const guint withoutQueue = 4;
  connection_.ask("org.freedesktop.DBus", "RequestName",
                  g_variant_new("(su)", name.c_str(), withoutQueue));
}

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
