// What the user answers to a notification, and what is taken back.

#include <stdexcept>

#include "platform/linux/session/BusDaemon.h"
#include "tests/desktop/support/bus/FakeNotificationServer.h"

namespace quillo {
namespace {

using Pressed = std::vector<std::string>;

class NotificationButtons : public FreedesktopNotificationsFixture {
 protected:
  NotificationDetails withButtons(const std::string& topic = "a find") {
    NotificationDetails details = find(topic);
    for (const char* title : {"Show", "Trash"}) {
      details.buttons.push_back({title, [this, title] { pressed.push_back(title); }, true});
    }
    details.buttons.push_back({"Log", [this] { pressed.push_back("Log"); }});
    return details;
  }
  // Shows one, and gives its number.
  uint show(FakeServer& server, FreedesktopNotifications& growl,
            const NotificationDetails& details) {
    const std::size_t before = server.shown();
    growl.notify({"Found", details.isFind ? "found" : "Error", "/x", 0, true, details});
    EXPECT_TRUE(waitUntil([&] { return server.shown() > before; }));
    // What is sent behind it is taken in behind it.
    growl.withdraw("nothing");
    settle(server);
    return server.lastId;
  }
  // Every signal and every answer so far has been taken in.
  void settle(FakeServer& server) {
    BusDaemon(*server.bus).roundTrip();
    BusDaemon(*bus).roundTrip();
    bool passed = false;
    postToMain([&] { passed = true; });
    EXPECT_TRUE(waitUntil([&] { return passed; }));
  }

  Pressed pressed;
};

TEST_F(NotificationButtons, AreOfferedWithTheFirstAsWhatAClickDoes) {
  FakeServer server;
  const auto growl = make();
  show(server, *growl, withButtons());
  EXPECT_EQ(server.arguments(0).at(5).toStringList(),
            (QStringList{"default", "Show", "0", "Show", "1", "Trash", "2", "Log"}));
}

TEST_F(NotificationButtons, AreNotOfferedToAServerWithoutThem) {
  FakeServer server{{"body"}};
  const auto growl = make();
  show(server, *growl, withButtons());
  EXPECT_EQ(server.arguments(0).at(5).toStringList(), QStringList());
}

TEST_F(NotificationButtons, DoWhatTheyAreFor) {
  FakeServer server;
  const auto growl = make();
  const uint id = show(server, *growl, withButtons());
  server.invoke(id, "1");
  ASSERT_TRUE(waitUntil([&] { return pressed.size() == 1; }));
  server.invoke(id, "default");
  ASSERT_TRUE(waitUntil([&] { return pressed.size() == 2; }));
  EXPECT_EQ(pressed, (Pressed{"Trash", "Show"}));
}

TEST_F(NotificationButtons, OfOthersAndKeysThatNobodyGaveDoNothing) {
  FakeServer server;
  const auto growl = make();
  const uint id = show(server, *growl, withButtons());
  for (const char* key : {"3", "-1", "", "Trash", "0x1", "4294967296"}) {
    server.invoke(id, key);
  }
  server.invoke(id + 1, "1");
  server.invoke(id, "2");
  ASSERT_TRUE(waitUntil([&] { return !pressed.empty(); }));
  EXPECT_EQ(pressed, Pressed{"Log"});
}

TEST_F(NotificationButtons, AreNotPressedByAnotherProgramOnTheBus) {
  FakeServer server;
  const auto growl = make();
  const uint id = show(server, *growl, withButtons());
  TestBus stranger;
  FakeServer::sendSignal(stranger, "ActionInvoked", {id, "1"});
  QDBusMessage direct = QDBusMessage::createTargetedSignal(bus->baseService(), notificationPath,
                                                           notificationService, "ActionInvoked");
  direct.setArguments({id, "1"});
  stranger->send(direct);
  BusDaemon(*stranger).roundTrip();
  server.invoke(id, "2");
  ASSERT_TRUE(waitUntil([&] { return !pressed.empty(); }));
  EXPECT_EQ(pressed, Pressed{"Log"});
}

TEST_F(NotificationButtons, OfAServerThatHasGoneMeanNothingToTheNext) {
  const auto growl = make();
  uint id = 0;
  {
    FakeServer first;
    ASSERT_TRUE(waitUntil([&] { return growl->isGrowlRunning(); }));
    id = show(first, *growl, withButtons());
  }
  ASSERT_TRUE(waitUntil([&] { return !growl->isGrowlRunning(); }));
  FakeServer next;
  next.lastId = 80;
  ASSERT_TRUE(waitUntil([&] { return growl->isGrowlRunning(); }));
  const uint own = show(next, *growl, withButtons());
  next.invoke(id, "1");
  next.invoke(own, "2");
  ASSERT_TRUE(waitUntil([&] { return !pressed.empty(); }));
  EXPECT_EQ(pressed, Pressed{"Log"});
}

TEST_F(NotificationButtons, OfAClosedNotificationDoNothing) {
  FakeServer server;
  const auto growl = make();
  const uint closed = show(server, *growl, withButtons());
  const uint open = show(server, *growl, withButtons());
  server.reportClosed(closed);
  server.invoke(closed, "1");
  server.invoke(open, "2");
  ASSERT_TRUE(waitUntil([&] { return !pressed.empty(); }));
  EXPECT_EQ(pressed, Pressed{"Log"});
}

TEST_F(NotificationButtons, ThatFailLeaveTheProgramRunning) {
  FakeServer server;
  const auto growl = make();
  NotificationDetails details = find();
  details.buttons = {{"Fail", [] { throw std::runtime_error("the button fails"); }},
                     {"Log", [this] { pressed.push_back("Log"); }}};
  const uint id = show(server, *growl, details);
  server.invoke(id, "0");
  server.invoke(id, "1");
  ASSERT_TRUE(waitUntil([&] { return !pressed.empty(); }));
}

TEST_F(NotificationButtons, BesideACountAreOnlyThoseOfNoSingleFile) {
  FakeServer server;
  const auto growl = make();
  for (int i = 0; i < 6; ++i) {
    growl->notify({"Found", "found", "/x", 0, true, withButtons()});
  }
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 6; }));
  EXPECT_EQ(server.arguments(5).at(4), "AND_MORE 1");
  EXPECT_EQ(server.arguments(5).at(5).toStringList(), (QStringList{"default", "Log", "0", "Log"}));
}

TEST_F(NotificationButtons, AreGoneWithAWithdrawnNotification) {
  FakeServer server;
  const auto growl = make();
  const uint one = show(server, *growl, withButtons("one"));
  const uint two = show(server, *growl, withButtons("two"));
  growl->withdraw("one");
  ASSERT_TRUE(waitUntil([&] { return !server.closed().empty(); }));
  EXPECT_EQ(server.closed(), std::vector<uint>{one});
  server.invoke(one, "1");
  server.invoke(two, "2");
  ASSERT_TRUE(waitUntil([&] { return !pressed.empty(); }));
  EXPECT_EQ(pressed, Pressed{"Log"});
}

TEST_F(NotificationButtons, AWithdrawnNotificationThatWaitsIsNeverShown) {
  FakeServer server;
  server.object.neverAnswer("GetCapabilities");
  const auto growl = make();
  growl->notify({"Found", "found", "over", 0, true, find("one")});
  growl->notify({"Found", "found", "not over", 0, true, find("two")});
  growl->withdraw("one");
  ASSERT_TRUE(waitUntil([&] { return server.object.callsOf("GetCapabilities").size() == 1; }));
  settle(server);
  server.bus->send(server.object.callsOf("GetCapabilities")
                       .front()
                       .createReply(QVariantList{QStringList{"body"}}));
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 1; }));
  EXPECT_EQ(server.arguments(0).at(4), "not over");
}

TEST_F(NotificationButtons, AWithdrawnNotificationIsClosedAsSoonAsItsNumberIsKnown) {
  FakeServer server;
  server.object.neverAnswer("Notify");
  const auto growl = make();
  growl->notify({"Found", "found", "/x", 0, true, find("one")});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 1; }));
  growl->withdraw("one");
  settle(server);
  EXPECT_TRUE(server.closed().empty());
  server.bus->send(server.object.callsOf("Notify").front().createReply(QVariantList{77U}));
  ASSERT_TRUE(waitUntil([&] { return !server.closed().empty(); }));
  EXPECT_EQ(server.closed(), std::vector<uint>{77U});
}

TEST_F(NotificationButtons, AHintMakesRoomForAFindAndComesBackBehindIt) {
  FakeServer server;
  const auto growl = make();
  const uint hinted = show(server, *growl, hint("definitions"));
  growl->notify({"Found", "found", "malware", 0, true, find()});
  ASSERT_TRUE(waitUntil([&] { return server.shown() == 3; }));
  EXPECT_EQ(server.closed(), std::vector<uint>{hinted});
  EXPECT_EQ(server.arguments(1).at(4), "malware");
  EXPECT_EQ(server.hints(1).value("urgency").toInt(), 2);
  EXPECT_EQ(server.arguments(2).at(4), "/x");
  EXPECT_EQ(server.arguments(2).at(1), 0U);
  growl->withdraw("definitions");
  ASSERT_TRUE(waitUntil([&] { return server.closed().size() == 2; }));
  EXPECT_EQ(server.closed().back(), server.lastId);
}

TEST_F(NotificationButtons, AHintOfLongAgoDoesNotComeBackBehindAFind) {
  FakeServer server;
  const auto growl = make();
  show(server, *growl, hint("definitions"));
  clock.advance(std::chrono::seconds(61));
  show(server, *growl, find());
  settle(server);
  EXPECT_EQ(server.shown(), 2U);
  EXPECT_TRUE(server.closed().empty());
  growl->withdraw("definitions");
  ASSERT_TRUE(waitUntil([&] { return server.closed().size() == 1; }));
}

TEST_F(NotificationButtons, AHintThatWasDismissedDoesNotComeBackBehindAFind) {
  FakeServer server;
  const auto growl = make();
  server.reportClosed(show(server, *growl, hint("definitions")));
  settle(server);
  show(server, *growl, find());
  show(server, *growl, find());
  EXPECT_EQ(server.shown(), 3U);
  EXPECT_TRUE(server.closed().empty());
}

TEST_F(NotificationButtons, AHintBehindAnOpenFindStaysWhereItIs) {
  FakeServer server;
  const auto growl = make();
  show(server, *growl, find());
  show(server, *growl, hint("definitions"));
  show(server, *growl, find());
  EXPECT_EQ(server.shown(), 3U);
  EXPECT_TRUE(server.closed().empty());
}

}  // namespace
}  // namespace quillo
