#include "benchmarks/interface/BusTraffic.h"

#include <stdexcept>
#include <utility>

#include "benchmarks/interface/Figures.h"

namespace bench {
namespace {

constexpr auto patience = std::chrono::seconds(20);

std::string orNothing(const gchar* text) { return text ? text : ""; }

constexpr Milliseconds betweenQuestions(5);
constexpr int longestAnswer = 20000;

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

Probe::Probe(const std::string& address, Question question)
    : question_(std::move(question)), connection_(address), thread_([this] { ask(); }) {}

Probe::Probe(const std::string& address, const std::string& item)
    : Probe(address, {item,
                      "/StatusNotifierItem",
                      "org.freedesktop.DBus.Properties",
                      "Get",
                      {"org.kde.StatusNotifierItem", "Status"}}) {}

Probe::~Probe() {
  ends_ = true;
  if (thread_.joinable()) {
    thread_.join();
  }
}

void Probe::ask() {
  while (!ends_ && !failed_) {
    GVariantBuilder arguments;
    g_variant_builder_init(&arguments, G_VARIANT_TYPE_TUPLE);
    for (const std::string& argument : question_.arguments) {
      g_variant_builder_add(&arguments, "s", argument.c_str());
    }
    const Milliseconds begin = now();
    GVariant* reply = g_dbus_connection_call_sync(
        connection_.get(), question_.service.c_str(), question_.object.c_str(),
        question_.interface.c_str(), question_.method.c_str(), g_variant_builder_end(&arguments),
        nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, longestAnswer, nullptr, nullptr);
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
    throw std::runtime_error("the program did not answer");
  }
  return answers_;
}

std::string uniqueNameOf(const std::string& address, const std::string& name) {
  const quillo::BusConnection connection(address);
  GVariant* reply = g_dbus_connection_call_sync(
      connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "GetNameOwner", g_variant_new("(s)", name.c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
      nullptr, nullptr);
  std::string owner;
  if (reply) {
    const gchar* text = nullptr;
    g_variant_get(reply, "(&s)", &text);
    owner = text;
    g_variant_unref(reply);
  }
  return owner;
}

}  // namespace bench
