#include <gtest/gtest.h>

#include <QDBusPendingCallWatcher>

#include "platform/linux/session/LogindPowerNotifications.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"

namespace quillo {
namespace {

constexpr char service[] = "org.freedesktop.login1";
constexpr char path[] = "/org/freedesktop/login1";
constexpr char manager[] = "org.freedesktop.login1.Manager";

// Hands out inhibitors and sees when they are given back, as logind does.
struct FakeLogind {
  FakeLogind() : object(bus, path) {
    object.answer("Inhibit", [this](const QDBusMessage& call) {
      UniqueFd writer;
      pipes.push_back(PipeReader::open(writer));
      return call.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(writer.get())));
    });
    object.own(service);
  }
  std::size_t taken() const { return object.callsOf("Inhibit").size(); }
  bool isHeld(std::size_t number) {
    pipes.at(number).availableData();
    return !pipes.at(number).atEnd();
  }
  void prepareForSleep(bool isBefore) {
    QDBusMessage signal = QDBusMessage::createSignal(path, manager, "PrepareForSleep");
    signal << isBefore;
    bus->send(signal);
  }

  TestBus bus;
  FakeBusObject object;
  std::vector<PipeReader> pipes;
};

class LogindPower : public testing::Test {
 protected:
  // Whether the answers of logind have been worked off.
  static bool isSettled(const LogindPowerNotifications& power) {
    return power.findChildren<QDBusPendingCallWatcher*>().isEmpty();
  }
  void observe(LogindPowerNotifications& power) {
    power.observe([this] { events.emplace_back("sleep"); },
                  [this] { events.emplace_back("wake"); });
  }

  std::vector<std::string> events;
  std::vector<std::string> problems;
  TestBus bus;
};

TEST_F(LogindPower, MachineSleepsOnlyWhenWillSleepHasRun) {
  FakeLogind logind;
  LogindPowerNotifications power(*bus, nullptr);
  bool heldMeanwhile = false;
  power.observe(
      [&] {
        heldMeanwhile = logind.isHeld(0);
        events.emplace_back("sleep");
      },
      [&] { events.emplace_back("wake"); });
  ASSERT_TRUE(waitUntil([&] { return logind.taken() == 1 && isSettled(power); }));
  const QVariantList asked = logind.object.callsOf("Inhibit")[0].arguments();
  EXPECT_EQ(asked, (QVariantList{"sleep", "Vantrel Quillo", "Stops watching folders", "delay"}));

  logind.prepareForSleep(true);
  ASSERT_TRUE(waitUntil([&] { return events.size() == 1 && !logind.isHeld(0); }));
  EXPECT_TRUE(heldMeanwhile);
  EXPECT_EQ(logind.taken(), 1U);

  logind.prepareForSleep(false);
  ASSERT_TRUE(waitUntil([&] { return events.size() == 2 && logind.taken() == 2; }));
  EXPECT_EQ(events, (std::vector<std::string>{"sleep", "wake"}));
  logind.prepareForSleep(true);
  EXPECT_TRUE(waitUntil([&] { return events.size() == 3 && !logind.isHeld(1); }));
}

TEST_F(LogindPower, InhibitorIsTakenFromALogindThatStartsLater) {
  LogindPowerNotifications power(*bus, [&](const std::string& text) { problems.push_back(text); });
  observe(power);
  FakeLogind first;
  ASSERT_TRUE(waitUntil([&] { return first.taken() == 1; }));
  first.object.disown(service);
  FakeLogind second;
  ASSERT_TRUE(waitUntil([&] { return second.taken() == 1; }));
  second.prepareForSleep(true);
  EXPECT_TRUE(waitUntil([&] { return events.size() == 1 && !second.isHeld(0); }));
  EXPECT_TRUE(problems.empty()) << problems[0];
}

TEST_F(LogindPower, RefusedInhibitorIsReportedAndSleepStillReported) {
  FakeLogind logind;
  logind.object.answer("Inhibit", [](const QDBusMessage& call) {
    return call.createErrorReply(QDBusError::AccessDenied, "not you");
  });
  LogindPowerNotifications power(*bus, [&](const std::string& text) { problems.push_back(text); });
  observe(power);
  ASSERT_TRUE(waitUntil([&] { return problems.size() == 1; }));
  EXPECT_EQ(problems[0], "The machine will not wait before it sleeps: not you");
  logind.prepareForSleep(true);
  EXPECT_TRUE(waitUntil([&] { return events.size() == 1; }));
}

TEST_F(LogindPower, NothingHappensWithoutASystemBus) {
  LogindPowerNotifications power(QDBusConnection("there is no such connection"),
                                 [&](const std::string& text) { problems.push_back(text); });
  observe(power);
  QCoreApplication::processEvents();
  EXPECT_TRUE(events.empty());
  EXPECT_TRUE(problems.empty());
}

}  // namespace
}  // namespace quillo
