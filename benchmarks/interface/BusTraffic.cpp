#include "benchmarks/interface/BusTraffic.h"

#include <stdexcept>

namespace bench {
namespace {

constexpr auto patience = std::chrono::seconds(20);

std::string orNothing(const gchar* text) { return text ? text : ""; }

}  // namespace

BusTraffic::BusTraffic(const std::string& address)
    : tap_(address, [this](GDBusMessage* message) { note(message); }) {}

void BusTraffic::note(GDBusMessage* message) {
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

void BusTraffic::clear() {
  const std::lock_guard hold(mutex_);
  registered_.reset();
  messages_.clear();
}

Milliseconds BusTraffic::awaitStatusItem(std::string& name) {
  std::unique_lock hold(mutex_);
  if (!changed_.wait_for(hold, patience, [this] { return registered_.has_value(); })) {
    throw std::runtime_error("no status item appeared");
  }
  name = itemName_;
  return *registered_;
}

int BusTraffic::messagesOf(const std::string& name) {
  const std::lock_guard hold(mutex_);
  return messages_[name];
}

}  // namespace bench
