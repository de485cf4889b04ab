#include "tests/desktop/support/bus/BusMonitor.h"

#include <chrono>
#include <utility>

#include "tests/support/Waiting.h"

namespace quillo {
namespace {}  // namespace

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
