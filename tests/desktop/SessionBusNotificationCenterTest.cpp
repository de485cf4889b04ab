#include <gtest/gtest.h>

#include "platform/linux/services/LinuxFolders.h"
#include "platform/linux/session/BusDaemon.h"
#include "platform/linux/session/SessionBusNotificationCenter.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"

namespace quillo {
namespace {

// Records the notifications of one name as they come over the bus.
struct Listener {
  explicit Listener(const std::string& name) : center(*bus) {
    center.addObserver(name, [this] { ++heard; });
    // The bus takes messages in order: after its answer it knows the match rule.
    BusDaemon(*bus).roundTrip();
  }

  TestBus bus;
  SessionBusNotificationCenter center;
  int heard = 0;
};

TEST(SessionBusNotifications, ReachEveryObserverOfTheirNameAlsoTheSendersOwn) {
  TestBus bus;
  SessionBusNotificationCenter center(*bus);
  int own = 0;
  center.addObserver("VantrelQuilloShouldRestart", [&] { ++own; });
  center.addObserver("VantrelQuilloShouldRestart", [&] { own += 10; });
  BusDaemon(*bus).roundTrip();
  Listener restart("VantrelQuilloShouldRestart");
  Listener quit("VantrelQuilloShouldQuit");
  center.post("VantrelQuilloShouldRestart", "VantrelQuillo");
  EXPECT_TRUE(waitUntil([&] { return own == 11 && restart.heard == 1; }));
  center.post("VantrelQuilloShouldQuit", "");
  EXPECT_TRUE(waitUntil([&] { return quit.heard == 1; }));
  EXPECT_EQ(restart.heard, 1);
}

TEST(SessionBusNotifications, HandTheirObjectToWhoeverAsksForIt) {
  TestBus bus;
  SessionBusNotificationCenter center(*bus);
  std::string object;
  center.addObjectObserver(plannedScanEnded, [&](const std::string& given) { object = given; });
  BusDaemon(*bus).roundTrip();
  center.post(plannedScanEnded, "Été\nfin");
  EXPECT_TRUE(waitUntil([&] { return !object.empty(); }));
  EXPECT_EQ(object, "Été\nfin");
}

TEST(SessionBusNotifications, CarryTheirObjectAsTheOnlyArgument) {
  ChildProcess monitor({.launchPath = "/usr/bin/dbus-monitor",
                        .arguments = {"--address", PrivateSession::busAddress(), "type=signal"}});
  std::string seen;
  const auto read = [&] {
    seen += monitor.availableData();
    return seen.find("VantrelShouldOpenPrefs") != std::string::npos;
  };
  TestBus bus;
  SessionBusNotificationCenter center(*bus);
  // The monitor listens at some moment; a notification more does no harm.
  QTimer again;
  again.callOnTimeout([&] { center.post("VantrelShouldOpenPrefs", "VantrelQuillo"); });
  again.start(20);
  ASSERT_TRUE(waitUntil([&] { return read() && seen.find("\"VantrelQuillo\"") != seen.npos; }));
  EXPECT_NE(seen.find("path=/org/vantrel/DistributedNotificationCenter; "
                      "interface=org.vantrel.DistributedNotificationCenter; "
                      "member=VantrelShouldOpenPrefs\n   string \"VantrelQuillo\"\n"),
            std::string::npos)
      << seen;
}

TEST(SessionBusNotifications, AreNotHeardAfterTheObserversAreRemovedAlsoByAnObserver) {
  TestBus bus;
  SessionBusNotificationCenter center(*bus);
  int heard = 0;
  center.addObserver("A", [&] {
    ++heard;
    center.removeObservers();
  });
  center.addObserver("B", [&] { ++heard; });
  Listener last("C");
  TestBus sender;
  SessionBusNotificationCenter other(*sender);
  BusDaemon(*bus).roundTrip();
  other.post("A", "");
  ASSERT_TRUE(waitUntil([&] { return heard == 1; }));
  other.post("A", "");
  other.post("B", "");
  other.post("C", "");
  ASSERT_TRUE(waitUntil([&] { return last.heard == 1; }));
  BusDaemon(*bus).roundTrip();
  QCoreApplication::processEvents();
  EXPECT_EQ(heard, 1);
}

TEST(SessionBusNotifications, ArriveFromAProcessThatEndsAtOnce) {
  Listener listener("VantrelQuilloHasQuit");
  constexpr int processes = 10;
  for (int i = 0; i < processes; ++i) {
    ChildProcess poster(
        {.launchPath = LinuxFolders::pathOfThisProgram(),
         .arguments = {"--post-and-exit", "VantrelQuilloHasQuit", "VantrelQuillo"}});
    EXPECT_EQ(poster.waitUntilExit(), 0);
  }
  EXPECT_TRUE(waitUntil([&] { return listener.heard == processes; }));
}

TEST(SessionBusNotifications, DoNothingWithoutABus) {
  SessionBusNotificationCenter center{QDBusConnection("there is no such connection")};
  center.addObserver("A", [] { FAIL(); });
  center.post("A", "x");
  center.removeObservers();
}

}  // namespace
}  // namespace quillo
