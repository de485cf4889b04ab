#include <gtest/gtest.h>

#include <QDBusArgument>
#include <thread>

#include "platform/linux/BusDaemon.h"
#include "platform/linux/FreedesktopNotifications.h"
#include "tests/desktop/Events.h"
#include "tests/desktop/FakeBusObject.h"
#include "tests/desktop/TestFolder.h"

namespace quillo {
namespace {

constexpr char service[] = "org.freedesktop.Notifications";

class Keys final : public LocalizedStrings {
 public:
  std::string stringForKey(const std::string& key, const std::string&) override {
    return key + " %@";
  }
};

struct FakeServer {
  explicit FakeServer(const QStringList& capabilities = {"body", "body-markup"})
      : object(bus, "/org/freedesktop/Notifications") {
    object.answerWith("GetCapabilities", {capabilities});
    object.answer("Notify", [this](const QDBusMessage& call) {
      const uint replaces = call.arguments().at(1).toUInt();
      return call.createReply(replaces != 0 ? replaces : ++lastId);
    });
    object.own(service);
  }
  std::size_t shown() const { return object.callsOf("Notify").size(); }
  QVariantList arguments(std::size_t number) const {
    return object.callsOf("Notify").at(number).arguments();
  }
  QVariantMap hints(std::size_t number) const {
    return qdbus_cast<QVariantMap>(arguments(number).at(6));
  }

  TestBus bus;
  FakeBusObject object;
  uint lastId = 40;
};

class Freedesktop : public testing::Test {
 protected:
  std::unique_ptr<FreedesktopNotifications> make() {
    auto made = std::make_unique<FreedesktopNotifications>(
        *bus, postToMain, clock, strings,
        [this](const std::string& text) { problems.push_back(text); });
    made->setGrowlDelegate(
        {{"found", "removed", "quarantined", "updated", "current", "Error"}, {}});
    return made;
  }

  TestBus bus;
  SystemClock clock;
  Keys strings;
  std::vector<std::string> problems;
};

TEST_F(Freedesktop, ShowsAnInfectionSoThatItStays) {
  FakeServer server;
  const auto growl = make();
  EXPECT_TRUE(growl->isGrowlRunning());
  growl->notify({"Found & bad", "found", "/x/<b>.exe: \xff", 0, true});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 1; }));
  const QVariantList call = server.arguments(0);
  EXPECT_EQ(call.at(0), "Vantrel Quillo");
  EXPECT_EQ(call.at(1), 0U);
  EXPECT_EQ(call.at(3), "Found & bad");
  EXPECT_EQ(call.at(4), "/x/&lt;b&gt;.exe: \\xff");
  EXPECT_EQ(call.at(7), 0);
  EXPECT_EQ(server.hints(0).value("urgency").typeId(), QMetaType::UChar);
  EXPECT_EQ(server.hints(0).value("urgency").toInt(), 2);
  EXPECT_EQ(server.hints(0).value("desktop-entry"), "org.vantrel.VantrelQuillo");
}

TEST_F(Freedesktop, TellsInfectionsAndErrorsFromUpdatesByTheirUrgency) {
  FakeServer server;
  const auto growl = make();
  const std::vector<std::pair<std::string, int>> names = {
      {"removed", 2}, {"quarantined", 2}, {"updated", 1}, {"current", 1}, {"Error", 2}};
  for (const auto& [name, urgency] : names) {
    growl->notify({"Vantrel Quillo", name, "text", 0, true});
  }
  ASSERT_TRUE(waitUntil([&] { return server.shown() == names.size(); }));
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(server.hints(i).value("urgency").toInt(), names[i].second) << names[i].first;
  }
}

TEST_F(Freedesktop, ShowsAHintWithoutUrgencyWhateverItsName) {
  FakeServer server;
  const auto growl = make();
  growl->notify({"Vantrel Quillo", "Error", "text", 0, true, true});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 1; }));
  EXPECT_EQ(server.hints(0).value("urgency").toInt(), 1);
}

TEST_F(Freedesktop, AsksEachServerOnceWhatItCanShow) {
  const auto growl = make();
  {
    FakeServer plain{QStringList()};
    ASSERT_TRUE(waitUntil([&] { return growl->isGrowlRunning(); }));
    growl->notify({"Found", "found", "/x/<b>", 0, true});
    growl->notify({"Found", "found", "/x/<c>", 0, true});
    ASSERT_TRUE(waitUntil([&] { return plain.shown() == 2; }));
    EXPECT_EQ(plain.arguments(0).at(3), "Found: /x/<b>");
    EXPECT_EQ(plain.object.callsOf("GetCapabilities").size(), 1U);
  }
  ASSERT_TRUE(waitUntil([&] { return !growl->isGrowlRunning(); }));
  FakeServer rich;
  ASSERT_TRUE(waitUntil([&] { return growl->isGrowlRunning(); }));
  growl->notify({"Error", "Error", "/x/<d>", 0, true});
  ASSERT_TRUE(waitUntil([&] { return rich.shown() == 1; }));
  EXPECT_EQ(rich.arguments(0).at(4), "/x/&lt;d&gt;");
  EXPECT_EQ(rich.object.callsOf("GetCapabilities").size(), 1U);
}

TEST_F(Freedesktop, ShowsAThousandInfectionsFromTwoThreadsAsSix) {
  FakeServer server;
  const auto growl = make();
  const auto storm = [&] {
    for (int i = 0; i < 500; ++i) {
      growl->notify({"Found", "found", "/x", 0, true});
    }
  };
  std::thread first(storm);
  std::thread second(storm);
  first.join();
  second.join();
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 6; }));
  EXPECT_EQ(server.arguments(5).at(4), "AND_MORE 995");
  growl->notify({"Found", "found", "/x", 0, true});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 7; }));
  EXPECT_EQ(server.arguments(6).at(4), "AND_MORE 996");
  EXPECT_EQ(server.arguments(6).at(1), server.lastId);
}

TEST_F(Freedesktop, NeverWaitsForAServerThatHangs) {
  FakeServer server;
  server.object.neverAnswer("Notify");
  const auto growl = make();
  for (int i = 0; i < 1000; ++i) {
    growl->notify({"Found", "found", "/x", 0, true});
  }
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 1; }));
  bool lived = false;
  postToMain([&] { lived = true; });
  EXPECT_TRUE(waitUntil([&] { return lived; }));
  EXPECT_EQ(server.shown(), 1U);
}

TEST_F(Freedesktop, IsNotRunningWithoutAServerOrABus) {
  EXPECT_FALSE(make()->isGrowlRunning());
  FreedesktopNotifications growl(QDBusConnection("there is no such connection"), postToMain, clock,
                                 strings, nullptr);
  EXPECT_FALSE(growl.isGrowlRunning());
  growl.notify({"Found", "found", "/x", 0, true});
  QCoreApplication::processEvents();
}

TEST_F(Freedesktop, CountsAServerThatCanBeStartedUntilItCannot) {
  const auto growl = make();
  ASSERT_FALSE(growl->isGrowlRunning());
  const std::string file = PrivateSession::serviceFolder() + "/notifications.service";
  std::ofstream(file) << "[D-BUS Service]\nName=" << service << "\nExec=/bin/false\n";
  QDBusMessage reload = QDBusMessage::createMethodCall(
      "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReloadConfig");
  bus->call(reload);
  ASSERT_TRUE(waitUntil([&] { return growl->isGrowlRunning(); }));
  growl->notify({"Found", "found", "/x", 0, true});
  ASSERT_TRUE(waitUntil([&] { return !growl->isGrowlRunning(); }));
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems[0].find("Notification \"Found: /x\" could not be shown: "), 0U);
  std::filesystem::remove(file);
  bus->call(reload);
}

TEST_F(Freedesktop, LetsGoOfWhatWasPostedWhenItIsGone) {
  FakeServer server;
  make()->notify({"Found", "found", "/x", 0, true});
  bool passed = false;
  postToMain([&] { passed = true; });
  EXPECT_TRUE(waitUntil([&] { return passed; }));
  EXPECT_EQ(server.shown(), 0U);
}

TEST_F(Freedesktop, HandsOverAllThatIsToBeShownBeforeTheEnd) {
  FakeServer server;
  const auto growl = make();
  growl->notify({"Vantrel Quillo", "Error", "first", 0, true});
  growl->notify({"Vantrel Quillo", "Error", "second", 0, true});
  std::optional<std::size_t> shown;
  postToMain([&] {
    growl->handOver(std::chrono::seconds(20));
    shown = server.shown();
  });
  EXPECT_TRUE(waitUntil([&] { return shown.has_value(); }));
  EXPECT_EQ(shown, 2U);
}

TEST_F(Freedesktop, HandsOverAtTheEndAlsoTheCountThatIsHeldBack) {
  FakeServer server;
  const auto growl = make();
  for (int i = 0; i < 100; ++i) {
    growl->notify({"found", "found", "file", 0, true});
  }
  std::optional<std::size_t> shown;
  postToMain([&] {
    growl->handOver(std::chrono::seconds(20));
    shown = server.shown();
  });
  EXPECT_TRUE(waitUntil([&] { return shown.has_value(); }));
  ASSERT_EQ(shown, NotificationQueue::mostInABurst + 1);
  EXPECT_EQ(server.arguments(5).at(4).toString(), "AND_MORE 95");
}

TEST_F(Freedesktop, WaitsAtTheEndOnlySoLongForAServerThatDoesNotAnswer) {
  FakeServer server;
  server.object.neverAnswer("Notify");
  const auto growl = make();
  growl->notify({"Vantrel Quillo", "Error", "first", 0, true});
  bool ended = false;
  postToMain([&] {
    growl->handOver(std::chrono::milliseconds(50));
    ended = true;
  });
  EXPECT_TRUE(waitUntil([&] { return ended; }));
  EXPECT_EQ(server.shown(), 1U);
}

TEST_F(Freedesktop, HandsOverAtTheEndAlsoWhatStandsBehindItInTheQueueOfTheMainThread) {
  FakeServer server;
  const auto growl = make();
  std::optional<std::size_t> shown;
  postToMain([&] {
    growl->handOver(std::chrono::seconds(20));
    shown = server.shown();
  });
  growl->notify({"Vantrel Quillo", "Error", "first", 0, true});
  EXPECT_TRUE(waitUntil([&] { return shown.has_value(); }));
  EXPECT_EQ(shown, 1U);
}

}  // namespace
}  // namespace quillo
