#include <gtest/gtest.h>

#include <QDBusPendingCallWatcher>

#include "platform/linux/ScriptingObject.h"
#include "tests/desktop/Events.h"
#include "tests/desktop/FakeBusObject.h"

namespace quillo {
namespace {

constexpr char name[] = "org.vantrel.VantrelQuillo";

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
  ScriptingObject object(*agent);
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
  ScriptingObject object(*agent);
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
  ScriptingObject object(*first);
  ScriptingObject other(*second);
  EXPECT_TRUE(object.claimName());
  EXPECT_FALSE(other.claimName());
}

TEST(ScriptingObjectTest, AnAgentWithoutABusMayStart) {
  ScriptingObject object{QDBusConnection("there is no such connection")};
  EXPECT_TRUE(object.claimName());
}

}  // namespace
}  // namespace quillo
