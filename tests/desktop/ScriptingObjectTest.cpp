#include <gtest/gtest.h>

#include <QDBusPendingCallWatcher>
#include <atomic>
#include <cerrno>
#include <future>

#include "platform/linux/session/ScriptingObject.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"

namespace quillo {
namespace {

constexpr char name[] = "org.vantrel.VantrelQuillo";
const std::function<int()> nobodyAsks = [] {
  ADD_FAILURE() << "nobody asked it to show itself";
  return 0;
};

QDBusMessage ask(TestBus& bus, const QString& key) {
  QDBusMessage call =
      QDBusMessage::createMethodCall(name, "/org/vantrel/VantrelQuillo", name, "ValueForKey");
  call << key;
  QDBusPendingCallWatcher watcher(bus->asyncCall(call));
  EXPECT_TRUE(waitUntil([&] { return watcher.isFinished(); }));
  return watcher.reply();
}

TEST(ScriptingObjectTest, AnswersAKnownKeyWithAVariant) {
  TestBus agent;
  TestBus script;
  ScriptingObject object(*agent, nobodyAsks, postToMain);
  ASSERT_TRUE(object.claimName());
  object.publish([](const std::string& key) {
    return key == "restartWatchingViaAS" ? std::optional<std::string>("Restart Requested")
                                         : std::nullopt;
  });
  const QDBusMessage reply = ask(script, "restartWatchingViaAS");
  ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
  EXPECT_EQ(reply.signature(), "v");
  EXPECT_EQ(reply.arguments().at(0).value<QDBusVariant>().variant(), "Restart Requested");
}

TEST(ScriptingObjectTest, NamesAnUnknownKeyInItsError) {
  TestBus agent;
  TestBus script;
  ScriptingObject object(*agent, nobodyAsks, postToMain);
  ASSERT_TRUE(object.claimName());
  for (const bool published : {false, true}) {
    if (published) {
      object.publish([](const std::string&) { return std::nullopt; });
    }
    const QDBusMessage reply = ask(script, "nonsense");
    EXPECT_EQ(reply.errorName(), "org.vantrel.VantrelQuillo.Error.UnknownKey");
    EXPECT_TRUE(reply.errorMessage().contains("nonsense"));
  }
}

TEST(ScriptingObjectTest, ASecondAgentDoesNotGetTheName) {
  TestBus first;
  TestBus second;
  ScriptingObject object(*first, nobodyAsks, postToMain);
  ScriptingObject other(*second, nobodyAsks, postToMain);
  EXPECT_TRUE(object.claimName());
  EXPECT_FALSE(other.claimName());
}

TEST(ScriptingObjectTest, AnAgentWithoutABusMayStart) {
  ScriptingObject object(QDBusConnection("there is no such connection"), nobodyAsks, postToMain);
  EXPECT_TRUE(object.claimName());
}

// As another start of the program would ask, from a thread of its own, since it waits.
std::string activateFrom(TestBus& bus) {
  ScriptingObject other(*bus, nobodyAsks, postToMain);
  EXPECT_FALSE(other.claimName());
  std::atomic<bool> isAnswered = false;
  auto answer = std::async(std::launch::async, [&] {
    std::string problem = other.activateOther();
    isAnswered = true;
    QMetaObject::invokeMethod(
        &other, [] {}, Qt::QueuedConnection);
    return problem;
  });
  EXPECT_TRUE(waitUntil([&] { return isAnswered.load(); }));
  return answer.get();
}

TEST(ScriptingObjectTest, ShowsItselfWhenASecondAgentAsks) {
  TestBus first;
  TestBus second;
  int shown = 0;
  ScriptingObject object(
      *first,
      [&shown] {
        ++shown;
        return 0;
      },
      postToMain);
  ASSERT_TRUE(object.claimName());
  EXPECT_EQ(activateFrom(second), "");
  EXPECT_EQ(shown, 1);
}

TEST(ScriptingObjectTest, LetsASecondAgentKnowThatThereIsNoDisplay) {
  TestBus first;
  TestBus second;
  ScriptingObject object(
      *first, [] { return ENOTSUP; }, postToMain);
  ASSERT_TRUE(object.claimName());
  EXPECT_EQ(activateFrom(second), "it runs without a display that could show its window");
}

TEST(ScriptingObjectTest, LetsASecondAgentKnowThatTheFirstIsNotOfThisSession) {
  TestBus bus;
  ScriptingObject object(*bus, nobodyAsks, postToMain);
  EXPECT_EQ(object.activateOther(), "it belongs to another session");
}

TEST(ScriptingObjectTest, ShowsItselfForFilesAndActionsAsWell) {
  TestBus agent;
  TestBus desktop;
  int shown = 0;
  ScriptingObject object(
      *agent,
      [&shown] {
        ++shown;
        return 0;
      },
      postToMain);
  ASSERT_TRUE(object.claimName());
  const auto call = [&](const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(name, "/org/vantrel/VantrelQuillo",
                                                          "org.freedesktop.Application", method);
    message.setArguments(arguments);
    QDBusPendingCallWatcher watcher(desktop->asyncCall(message));
    EXPECT_TRUE(waitUntil([&] { return watcher.isFinished(); }));
    return watcher.reply().type();
  };
  EXPECT_EQ(call("Open", {QStringList("file:///a"), QVariantMap()}), QDBusMessage::ReplyMessage);
  EXPECT_EQ(call("ActivateAction", {"show", QVariantList(), QVariantMap()}),
            QDBusMessage::ReplyMessage);
  EXPECT_EQ(shown, 2);
}

}  // namespace
}  // namespace quillo
