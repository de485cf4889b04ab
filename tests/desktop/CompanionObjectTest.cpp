#include <gtest/gtest.h>

#include <QDBusPendingCallWatcher>
#include <stdexcept>

#include "platform/linux/session/CompanionObject.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"

namespace quillo {
namespace {

constexpr char name[] = "org.vantrel.Vantrel";

class CompanionObjectTest : public testing::Test {
 protected:
  CompanionObjectTest() { EXPECT_TRUE(object.claimName()); }

  QDBusMessage call(const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(name, "/org/vantrel/Vantrel",
                                                          "org.freedesktop.Application", method);
    message.setArguments(arguments);
    QDBusPendingCallWatcher watcher(other->asyncCall(message));
    EXPECT_TRUE(waitUntil([&] { return watcher.isFinished(); }));
    return watcher.reply();
  }

  TestBus bus;
  TestBus other;
  std::vector<CompanionRequest> requests;
  std::string problem;
  CompanionObject object{*bus, [this](const CompanionRequest& request) {
                           requests.push_back(request);
                           return problem;
                         }};
};

TEST_F(CompanionObjectTest, IsActivatedWithWhatTheDesktopHandsOn) {
  const QVariantMap data = {{"activation-token", "token"}, {"desktop-startup-id", "id_TIME12"}};
  EXPECT_EQ(call("Activate", {data}).type(), QDBusMessage::ReplyMessage);
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].page, "");
  EXPECT_EQ(requests[0].activationToken, "token");
  EXPECT_EQ(requests[0].startupId, "id_TIME12");
}

TEST_F(CompanionObjectTest, TakesAnActionForAPage) {
  EXPECT_EQ(call("ActivateAction", {"settings", QVariantList(), QVariantMap()}).type(),
            QDBusMessage::ReplyMessage);
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].page, "settings");
}

TEST_F(CompanionObjectTest, TakesFilesByTheirBytes) {
  const QStringList uris = {"file:///tmp/a%FF%20b", "file:///c"};
  EXPECT_EQ(call("Open", {uris, QVariantMap()}).type(), QDBusMessage::ReplyMessage);
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].paths, (std::vector<std::string>{"/tmp/a\xff b", "/c"}));
}

TEST_F(CompanionObjectTest, RefusesWhatIsNoFileOfThisMachine) {
  const QDBusMessage answer = call("Open", {QStringList{"https://vantrel.org/x"}, QVariantMap()});
  EXPECT_EQ(answer.errorName(), "org.vantrel.Vantrel.Error.NotDone");
  EXPECT_TRUE(requests.empty());
}

TEST_F(CompanionObjectTest, TakesAllFilesOrNone) {
  for (const char* foreign : {"https://vantrel.org/x", "file:////srv/x", "file://srv/x"}) {
    const QDBusMessage answer = call("Open", {QStringList{"file:///a", foreign}, QVariantMap()});
    EXPECT_EQ(answer.errorName(), "org.vantrel.Vantrel.Error.NotDone");
    EXPECT_TRUE(answer.errorMessage().startsWith(foreign));
  }
  EXPECT_TRUE(requests.empty());
}

TEST_F(CompanionObjectTest, AsksTheOtherForNoFileThatMightBeTakenForAnother) {
  for (const char* path : {"localhost/etc/passwd", "//localhost/etc/passwd", ""}) {
    CompanionRequest request;
    request.paths = {"/a", path};
    EXPECT_NE(object.askOther(request), "") << path;
  }
  EXPECT_TRUE(requests.empty());
}

TEST_F(CompanionObjectTest, SaysWhyItDoesNot) {
  problem = "there is no such page";
  const QDBusMessage answer = call("ActivateAction", {"x", QVariantList(), QVariantMap()});
  EXPECT_EQ(answer.errorName(), "org.vantrel.Vantrel.Error.NotDone");
  EXPECT_EQ(answer.errorMessage().toStdString(), problem);
}

TEST_F(CompanionObjectTest, AnswersAlsoWhenItFails) {
  TestBus failing;
  CompanionObject thrower{
      *failing, [](const CompanionRequest&) -> std::string { throw std::runtime_error("no"); }};
  QDBusMessage message = QDBusMessage::createMethodCall(
      failing->baseService(), "/org/vantrel/Vantrel", "org.freedesktop.Application", "Activate");
  message << QVariantMap();
  QDBusPendingCallWatcher watcher(other->asyncCall(message));
  EXPECT_TRUE(waitUntil([&] { return watcher.isFinished(); }));
  EXPECT_EQ(watcher.reply().errorName(), "org.vantrel.Vantrel.Error.NotDone");
}

TEST_F(CompanionObjectTest, IsThereOnceInASession) {
  CompanionObject second{*other, [](const CompanionRequest&) { return ""; }};
  EXPECT_FALSE(second.claimName());
}

}  // namespace
}  // namespace quillo
