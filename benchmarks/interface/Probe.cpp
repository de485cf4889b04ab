#include "benchmarks/interface/Probe.h"

#include <stdexcept>

#include "benchmarks/interface/Figures.h"

namespace bench {
namespace {

constexpr Milliseconds betweenQuestions(5);
constexpr int longestAnswer = 20000;

GDBusConnection* connectionTo(const std::string& address) {
  const auto flags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  GDBusConnection* connection =
      g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
  if (!connection) {
    throw std::runtime_error("cannot connect to the session bus at " + address);
  }
  return connection;
}

}  // namespace

Probe::Probe(const std::string& address, const std::string& item)
    : item_(item), connection_(connectionTo(address)), thread_([this] { ask(); }) {}

Probe::~Probe() {
  ends_ = true;
  if (thread_.joinable()) {
    thread_.join();
  }
  g_object_unref(connection_);
}

void Probe::ask() {
  while (!ends_ && !failed_) {
    const Milliseconds begin = now();
    GVariant* reply = g_dbus_connection_call_sync(
        connection_, item_.c_str(), "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
        g_variant_new("(ss)", "org.kde.StatusNotifierItem", "Status"), nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, longestAnswer, nullptr, nullptr);
    failed_ = !reply;
    if (reply) {
      answers_.push_back((now() - begin).count());
      g_variant_unref(reply);
    }
    pause(betweenQuestions);
  }
}

std::vector<double> Probe::finish() {
  ends_ = true;
  thread_.join();
  if (failed_ || answers_.empty()) {
    throw std::runtime_error("the agent did not answer");
  }
  return answers_;
}

std::string uniqueNameOf(const std::string& address, const std::string& name) {
  GDBusConnection* connection = connectionTo(address);
  GVariant* reply = g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "GetNameOwner", g_variant_new("(s)", name.c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
      nullptr, nullptr);
  std::string owner;
  if (reply) {
    const gchar* text = nullptr;
    g_variant_get(reply, "(&s)", &text);
    owner = text;
    g_variant_unref(reply);
  }
  g_object_unref(connection);
  return owner;
}

}  // namespace bench
