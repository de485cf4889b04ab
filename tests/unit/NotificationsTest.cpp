#include <gtest/gtest.h>

#include "agent/Notifications.h"
#include "tests/fakes/desktop/FakePlatform.h"

namespace quillo {
namespace {

using Names = std::vector<std::string>;

class NotificationsTest : public testing::Test {
 protected:
  void prepare(std::optional<int> version = 0x1040) {
    desktop.application.version = version;
    notifications.loadNames();
    notifications.registerWith(desktop.application);
  }
  GrowlNotification shown(std::int32_t code) {
    EXPECT_TRUE(notifications.displayGrowlDialogWithTitleAndDescription(code, "text"));
    return desktop.growl.posted().back();
  }

  FakePlatform desktop;
  Notifications notifications{desktop.growl, desktop.localizedStrings};
};

TEST_F(NotificationsTest, LookTheirNamesUp) {
  prepare();
  const auto names = notifications.names();
  EXPECT_EQ(names->growlFound, "<FOUND>");
  EXPECT_EQ(names->growlRemoved, "<REMOVED>");
  EXPECT_EQ(names->growlQuarantined, "<QUARANTINED>");
  EXPECT_EQ(names->updateSuccessful, "<SUCCESSFUL>");
  EXPECT_EQ(names->alreadyUpToDate, "<ALREADY_UP_TO_DATE>");
  EXPECT_EQ(names->unknownError, "<UNKNOWN_ERROR>");
}

TEST_F(NotificationsTest, RegisterSixNamesAllOfThemByDefault) {
  prepare();
  const Names all = {
      "<FOUND>", "<REMOVED>", "<QUARANTINED>", "<SUCCESSFUL>", "<ALREADY_UP_TO_DATE>", "Error"};
  ASSERT_TRUE(desktop.growl.registration.has_value());
  EXPECT_EQ(desktop.growl.registration->allNotifications, all);
  EXPECT_EQ(desktop.growl.registration->defaultNotifications, all);
  EXPECT_EQ(notifications.registrationDictionaryForGrowl().allNotifications, all);
}

TEST_F(NotificationsTest, DoNotRegisterWithAnOldOrUnknownDesktop) {
  for (const std::optional<int> version : {std::optional<int>(0x1039), std::optional<int>()}) {
    prepare(version);
    EXPECT_FALSE(desktop.growl.registration.has_value());
    EXPECT_FALSE(notifications.displayGrowlDialogWithTitleAndDescription(1, "text"));
  }
  EXPECT_TRUE(desktop.growl.posted().empty());
}

TEST_F(NotificationsTest, AreNotPostedWhileTheServiceDoesNotRun) {
  prepare();
  desktop.growl.setRunning(false);
  EXPECT_FALSE(notifications.displayGrowlDialogWithTitleAndDescription(1, "text"));
  EXPECT_TRUE(desktop.growl.posted().empty());
  desktop.growl.setRunning(true);
  EXPECT_TRUE(notifications.displayGrowlDialogWithTitleAndDescription(1, "text"));
}

TEST_F(NotificationsTest, AreNotPostedBeforeTheDesktopIsKnown) {
  EXPECT_FALSE(notifications.displayGrowlDialogWithTitleAndDescription(6, "text"));
}

TEST_F(NotificationsTest, BearTitleAndNameOfTheirCode) {
  prepare();
  const auto expect = [this](std::int32_t code, const std::string& title, const std::string& name) {
    const GrowlNotification notification = shown(code);
    EXPECT_EQ(notification.title, title) << code;
    EXPECT_EQ(notification.name, name) << code;
  };
  expect(1, "<FOUND>", "<FOUND>");
  expect(2, "<QUARANTINED>", "<QUARANTINED>");
  expect(3, "<REMOVED>", "<REMOVED>");
  expect(4, "Vantrel Quillo", "<SUCCESSFUL>");
  expect(5, "Vantrel Quillo", "<ALREADY_UP_TO_DATE>");
  for (const std::int32_t other : {6, 7, 0, -1}) {
    expect(other, "Vantrel Quillo", "Error");
  }
}

TEST_F(NotificationsTest, StayUntilTheUserDismissesThem) {
  prepare();
  for (const std::int32_t code : {1, 2, 3, 4, 5, 6}) {
    const GrowlNotification notification = shown(code);
    EXPECT_TRUE(notification.isSticky);
    EXPECT_EQ(notification.priority, 0);
    EXPECT_EQ(notification.description, "text");
  }
}

TEST_F(NotificationsTest, DistinguishFindsFromTheRest) {
  prepare();
  for (const std::int32_t code : {1, 2, 3}) {
    EXPECT_TRUE(shown(code).details.isFind) << code;
  }
  for (const std::int32_t code : {4, 5, 6}) {
    EXPECT_FALSE(shown(code).details.isFind) << code;
  }
}

TEST_F(NotificationsTest, HandOnWhatBelongsToThemAndKeepTheirFixedText) {
  prepare();
  NotificationDetails details;
  details.summary = "in words";
  details.topic = "the topic";
  details.isFind = true;
  notifications.displayGrowlDialogWithTitleAndDescription(6, "text", details);
  const GrowlNotification posted = desktop.growl.posted().back();
  EXPECT_EQ(posted.title, "Vantrel Quillo");
  EXPECT_EQ(posted.description, "text");
  EXPECT_EQ(posted.details.summary, "in words");
  EXPECT_TRUE(posted.details.isFind);
  notifications.withdraw("the topic");
  EXPECT_EQ(desktop.growl.withdrawn(), Names{"the topic"});
}

}  // namespace
}  // namespace quillo
