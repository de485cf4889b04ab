#include <gtest/gtest.h>

#include <QDBusVariant>
#include <vector>

#include "platform/linux/tray/TrayHost.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"

namespace quillo {
namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
using Kind = TrayHost::Kind;

class TrayHostTest : public testing::Test {
 protected:
  TrayHostTest() { hasHost(false); }

  void hasHost(bool has) { watcher.answerWith("Get", {QVariant::fromValue(QDBusVariant(has))}); }

  // Asked, and the answer has come.
  bool wasAsked() {
    if (!waitUntil([&] { return !watcher.callsOf("Get").empty(); })) {
      return false;
    }
    const QDBusMessage ping = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/",
                                                             "org.freedesktop.DBus", "GetId");
    bus->call(ping);
    QDBusConnection::sessionBus().call(ping);
    QCoreApplication::processEvents();
    return true;
  }

  void hostRegisters() {
    bus->send(QDBusMessage::createSignal(watcherPath, watcherName, "StatusNotifierHostRegistered"));
  }

  void observe(TrayHost& host) {
    host.onChange([this, &host] { kinds.push_back(host.kind()); });
  }

  bool kindsBecome(const std::vector<Kind>& expected) {
    return waitUntil([&] { return kinds == expected; });
  }

  TestBus bus;
  FakeBusObject watcher{bus, watcherPath};
  std::vector<Kind> kinds;
};

TEST_F(TrayHostTest, WaitsForAPanelBehindTheWatcher) {
  ASSERT_TRUE(watcher.own(watcherName));
  TrayHost host;
  observe(host);
  ASSERT_TRUE(wasAsked());
  ASSERT_EQ(host.kind(), Kind::none);
  hostRegisters();
  EXPECT_TRUE(kindsBecome({Kind::statusNotifier}));
}

TEST_F(TrayHostTest, IsThereAtOnceWithAPanelThatIsThere) {
  hasHost(true);
  ASSERT_TRUE(watcher.own(watcherName));
  TrayHost host;
  observe(host);
  EXPECT_TRUE(kindsBecome({Kind::statusNotifier}));
  EXPECT_EQ(host.kind(), Kind::statusNotifier);
}

TEST_F(TrayHostTest, IsTakenForNoneWhileNobodyShowsIcons) {
  ASSERT_TRUE(watcher.own(watcherName));
  const TrayHost host;
  ASSERT_TRUE(wasAsked());
  EXPECT_EQ(host.kind(), Kind::none);
}

TEST_F(TrayHostTest, GoesAndComesWithTheWatcher) {
  hasHost(true);
  TrayHost host;
  observe(host);
  ASSERT_TRUE(watcher.own(watcherName));
  ASSERT_TRUE(kindsBecome({Kind::statusNotifier}));
  ASSERT_TRUE(watcher.disown(watcherName));
  ASSERT_TRUE(kindsBecome({Kind::statusNotifier, Kind::none}));
  ASSERT_TRUE(watcher.own(watcherName));
  EXPECT_TRUE(kindsBecome({Kind::statusNotifier, Kind::none, Kind::statusNotifier}));
}

}  // namespace
}  // namespace quillo
