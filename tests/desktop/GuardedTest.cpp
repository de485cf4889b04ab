#include <gtest/gtest.h>

#include <QAction>
#include <QDBusPendingCallWatcher>
#include <stdexcept>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/session/BusDaemon.h"
#include "platform/linux/session/LogindPowerNotifications.h"
#include "platform/linux/session/ScriptingObject.h"
#include "platform/linux/session/SessionBusNotificationCenter.h"
#include "platform/linux/tray/QtMenu.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"
#include "tests/fakes/desktop/FakeInterface.h"

namespace quillo {
namespace {

// What reaches Qt here ends the test.
class GuardedActions : public testing::Test {
 protected:
  GuardedActions() {
    setGuardReport([this](const std::string& problem) { problems.push_back(problem); });
  }
  ~GuardedActions() override { setGuardReport(nullptr); }

  static void fail() { throw std::runtime_error("no thread"); }
  bool isReported() {
    return waitUntil([this] { return !problems.empty(); }) &&
           problems == std::vector<std::string>{"An action failed: no thread"};
  }

  std::vector<std::string> problems;
  TestBus bus;
};

TEST_F(GuardedActions, EndInALine) {
  guarded(fail);
  EXPECT_TRUE(isReported());
  guarded([] { throw 1; });
  EXPECT_EQ(problems.back(), "An action failed: unknown failure");
}

TEST_F(GuardedActions, AreThoseOfTheMenu) {
  FakeApplication application;
  QtMenuItem item(application, MenuTitle::plain("Update"), fail);
  EXPECT_NO_THROW(item.action().trigger());
  EXPECT_TRUE(isReported());
}

TEST_F(GuardedActions, AreThoseOfNotificationsOfOtherApplications) {
  SessionBusNotificationCenter center(*bus);
  bool others = false;
  center.addObserver("VantrelQuilloShouldRestart", fail);
  center.addObserver("VantrelQuilloShouldRestart", [&] { others = true; });
  BusDaemon(*bus).roundTrip();
  center.post("VantrelQuilloShouldRestart", "");
  EXPECT_TRUE(isReported());
  EXPECT_TRUE(others);
}

TEST_F(GuardedActions, AreThoseOfScripts) {
  TestBus script;
  ScriptingObject object(
      *bus, [] { return 0; }, postToMain);
  ASSERT_TRUE(object.claimName());
  object.publish([](const std::string&) -> std::optional<std::string> {
    fail();
    return std::nullopt;
  });
  QDBusMessage call =
      QDBusMessage::createMethodCall("org.vantrel.VantrelQuillo", "/org/vantrel/VantrelQuillo",
                                     "org.vantrel.VantrelQuillo", "ValueForKey");
  call << QStringLiteral("key");
  QDBusPendingCallWatcher watcher(script->asyncCall(call));
  EXPECT_TRUE(waitUntil([&] { return watcher.isFinished(); }));
  EXPECT_EQ(watcher.reply().type(), QDBusMessage::ErrorMessage);
  EXPECT_TRUE(isReported());
}

// The machine sleeps all the same.
TEST_F(GuardedActions, AreThoseOfSleep) {
  TestBus logindBus;
  FakeBusObject logind(logindBus, "/org/freedesktop/login1");
  ASSERT_TRUE(logind.own("org.freedesktop.login1"));
  LogindPowerNotifications power(*bus, nullptr);
  power.observe(fail, [] {});
  BusDaemon(*bus).roundTrip();
  QDBusMessage signal = QDBusMessage::createSignal(
      "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep");
  signal << true;
  logindBus->send(signal);
  EXPECT_TRUE(isReported());
}

}  // namespace
}  // namespace quillo
