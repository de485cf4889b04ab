#pragma once

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/notifications/FreedesktopNotifications.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

inline constexpr char notificationService[] = "org.freedesktop.Notifications";
inline constexpr char notificationPath[] = "/org/freedesktop/Notifications";

// A notification server that shows nothing and remembers everything.
struct FakeServer {
  explicit FakeServer(const QStringList& capabilities = {"actions", "body", "body-markup"})
      : object(bus, notificationPath) {
    object.answerWith("GetCapabilities", {capabilities});
    object.answer("Notify", [this](const QDBusMessage& call) {
      const uint replaces = call.arguments().at(1).toUInt();
      return call.createReply(replaces != 0 ? replaces : ++lastId);
    });
    object.answerWith("CloseNotification", {});
    object.own(notificationService);
  }
  std::size_t shown() const { return object.callsOf("Notify").size(); }
  QVariantList arguments(std::size_t number) const {
    return object.callsOf("Notify").at(number).arguments();
  }
  QVariantMap hints(std::size_t number) const {
    return qdbus_cast<QVariantMap>(arguments(number).at(6));
  }
  std::vector<uint> closed() const {
    std::vector<uint> ids;
    for (const QDBusMessage& call : object.callsOf("CloseNotification")) {
      ids.push_back(call.arguments().at(0).toUInt());
    }
    return ids;
  }
  // As when the user presses the button of that key.
  void invoke(uint id, const QString& key) { sendSignal(bus, "ActionInvoked", {id, key}); }
  void reportClosed(uint id) { sendSignal(bus, "NotificationClosed", {id, 2U}); }
  static void sendSignal(TestBus& from, const QString& name, const QVariantList& arguments) {
    QDBusMessage signal = QDBusMessage::createSignal(notificationPath, notificationService, name);
    signal.setArguments(arguments);
    from->send(signal);
  }

  TestBus bus;
  FakeBusObject object;
  uint lastId = 40;
};

// The system's clock, which a test can put forward.
class AdvancingClock final : public Clock {
 public:
  void advance(Duration length) { ahead_ += length; }

  Duration now() override { return clock_.now() + ahead_; }
  std::chrono::system_clock::time_point wallTime() override { return clock_.wallTime(); }
  void sleepFor(Duration length) override { clock_.sleepFor(length); }
  void waitOn(std::condition_variable& variable, std::unique_lock<std::mutex>& held,
              Duration bound) override {
    clock_.waitOn(variable, held, bound);
  }

 private:
  SystemClock clock_;
  Duration ahead_{};
};

class FreedesktopNotificationsFixture : public testing::Test {
 protected:
  class Keys final : public LocalizedStrings {
   public:
    std::string stringForKey(const std::string& key, const std::string&) override {
      return key + " %@";
    }
  };

  std::unique_ptr<FreedesktopNotifications> make() {
    return std::make_unique<FreedesktopNotifications>(
        *bus, postToMain, clock, strings, "/a folder/application.png",
        [this](const std::string& text) { problems.push_back(text); });
  }
  static NotificationDetails find(const std::string& topic = "") {
    NotificationDetails details;
    details.isFind = true;
    details.topic = topic;
    return details;
  }
  static NotificationDetails hint(const std::string& topic) {
    NotificationDetails details;
    details.topic = topic;
    return details;
  }

  TestBus bus;
  AdvancingClock clock;
  Keys strings;
  std::vector<std::string> problems;
};

}  // namespace quillo
