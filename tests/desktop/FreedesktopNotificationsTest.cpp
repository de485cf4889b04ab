#include <filesystem>
#include <fstream>

#include "tests/desktop/support/bus/FakeNotificationServer.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using Freedesktop = FreedesktopNotificationsFixture;

TEST_F(Freedesktop, ShowsAnInfectionSoThatItStays) {
  FakeServer server;
  const auto growl = make();
  EXPECT_TRUE(growl->isGrowlRunning());
  growl->notify({"Found & bad", "found", "/x/<b>.exe: \xff", 0, true, find()});
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

TEST_F(Freedesktop, ShowsThePictureThatLiesBesideTheProgramWhateverTheThemeKnows) {
  FakeServer server;
  const auto growl = make();
  growl->notify({"Found", "found", "/x", 0, true});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 1; }));
  EXPECT_EQ(server.arguments(0).at(2), "file:///a%20folder/application.png");
  EXPECT_EQ(server.hints(0).value("image-path"), "file:///a%20folder/application.png");
}

TEST_F(Freedesktop, NamesNoApplicationForWhatIsToOutliveIt) {
  FakeServer server;
  const auto growl = make();
  NotificationDetails details;
  details.outlivesSender = true;
  growl->notify({"Planned scan", "planned", "nothing found", 0, true, details});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 1; }));
  EXPECT_FALSE(server.hints(0).contains("desktop-entry"));
  EXPECT_TRUE(server.hints(0).contains("image-path"));
}

TEST_F(Freedesktop, CallsNothingUrgentThatReportsNoMalware) {
  FakeServer server;
  const auto growl = make();
  growl->notify({"Vantrel Quillo", "Error", "text", 0, true});
  growl->notify({"Vantrel Quillo", "updated", "text", 0, true});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 2; }));
  EXPECT_EQ(server.hints(0).value("urgency").toInt(), 1);
  EXPECT_EQ(server.hints(1).value("urgency").toInt(), 1);
}

TEST_F(Freedesktop, ShowsTheWordsForPeopleInPlaceOfTitleAndDescription) {
  FakeServer server;
  const auto growl = make();
  NotificationDetails details;
  details.summary = "Malware found: <b>\n\u202egnp.exe";
  details.body = "/x/<b>";
  growl->notify({"Found", "found", "the line", 0, true, details});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 1; }));
  EXPECT_EQ(server.arguments(0).at(3), "Malware found: <b>\\n\\u202egnp.exe");
  EXPECT_EQ(server.arguments(0).at(4), "/x/&lt;b&gt;");
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
  JoinedThreads first(storm);
  JoinedThreads second(storm);
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
                                 strings, "", nullptr);
  EXPECT_FALSE(growl.isGrowlRunning());
  growl.notify({"Found", "found", "/x", 0, true});
  QCoreApplication::processEvents();
}

TEST_F(Freedesktop, CountsAServerThatCanBeStartedUntilItCannot) {
  const auto growl = make();
  ASSERT_FALSE(growl->isGrowlRunning());
  const std::string file = PrivateSession::serviceFolder() + "/notifications.service";
  std::ofstream(file) << "[D-BUS Service]\nName=" << notificationService << "\nExec=/bin/false\n";
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
