#include <gtest/gtest.h>

#include <string>

#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace quillo {
namespace {

const std::string warningTitle = "Malware Found";
const std::string noticeTitle = "Vantrel Quillo";

class DialogPiles : public testing::Test {
 protected:
  void warn(const std::string& path) {
    interface.ask("load WarningDialog", "loaded");
    interface.ask("message " + path + ": Win.Test FOUND", "message ");
    interface.send("front");
  }

  void showEngineError() {
    interface.ask("load QuarantinedDialog", "loaded");
    interface.send("engine-error");
    interface.ask("message The engine is gone", "message ");
    interface.send("front");
  }

  void showQuarantined() {
    interface.ask("load QuarantinedDialog", "loaded");
    interface.send("front");
  }

  bool showsWindows(std::size_t count, const std::string& title) {
    return session.screen().eventually(
        [&] { return session.screen().countWindows(title) == count; });
  }

  // Until nothing more comes to the screen by itself.
  void settle() {
    for (int posted = 0; posted < 8; ++posted) {
      interface.ask("sync", "synced");
    }
  }

  DesktopSession session;
  InterfaceProgram interface { session };
};

TEST_F(DialogPiles, OfTheEnginesErrorsOneIsShownAndSaysHowManyWait) {
  for (int run = 0; run < 5; ++run) {
    showEngineError();
  }
  ASSERT_TRUE(showsWindows(1, noticeTitle));
  settle();
  EXPECT_EQ(session.screen().countWindows(noticeTitle), 1U);
  EXPECT_EQ(interface.ask("text theRest", "text "), "More such messages waiting: 4");
  session.keepPicture("engine-errors");
}

TEST_F(DialogPiles, OfTheEnginesErrorsHideNoWarning) {
  for (int run = 0; run < 5; ++run) {
    showEngineError();
  }
  ASSERT_TRUE(showsWindows(1, noticeTitle));
  warn("/home/anna/a.zip");
  EXPECT_TRUE(showsWindows(1, warningTitle));
}

TEST_F(DialogPiles, OfQuarantinedFilesHideNoWarning) {
  for (int run = 0; run < 5; ++run) {
    showQuarantined();
  }
  ASSERT_TRUE(showsWindows(3, noticeTitle));
  warn("/home/anna/a.zip");
  EXPECT_TRUE(showsWindows(1, warningTitle));
  settle();
  EXPECT_EQ(session.screen().countWindows(noticeTitle), 3U);
}

TEST_F(DialogPiles, OfWarningsLieInFrontOfWhatCameLater) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  showEngineError();
  showQuarantined();
  ASSERT_TRUE(showsWindows(2, noticeTitle));
  settle();
  EXPECT_TRUE(session.screen().eventually(
      [&] { return session.screen().stackedTitles().back() == warningTitle; }));
  session.keepPicture("piles");
}

TEST_F(DialogPiles, SayOnlyWhereSeveralWarningsAreOpenThatCtrlDismissesThemAll) {
  warn("/home/anna/a.zip");
  showQuarantined();
  ASSERT_TRUE(showsWindows(1, warningTitle));
  ASSERT_TRUE(showsWindows(1, noticeTitle));
  settle();
  session.keepPicture("warning-alone");
  EXPECT_EQ(interface.ask("visible theHint", "visible "), "0");
  warn("/home/anna/b.zip");
  ASSERT_TRUE(showsWindows(2, warningTitle));
  settle();
  session.keepPicture("warnings-two");
  EXPECT_EQ(interface.ask("visible theHint", "visible "), "2");
  EXPECT_NE(interface.ask("text theHint", "text ").find("stay where they are"), std::string::npos);
  interface.clickOn("ignoreButton");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  settle();
  EXPECT_EQ(interface.ask("visible theHint", "visible "), "0");
}

TEST_F(DialogPiles, LeaveTheButtonsWhereTheyAreWhenTheHintComes) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  settle();
  ASSERT_TRUE(session.screen().eventually(
      [&] { return interface.ask("framed deleteButton", "framed ") == "1"; }));
  settle();
  const std::string before = interface.ask("where deleteButton", "at ");
  const auto height = [&] { return session.screen().windowAreas(warningTitle).at(0).height(); };
  const int heightBefore = height();
  interface.send("failure It could not be done for a reason that takes some words to tell.");
  // Its size and its place reach the server one after the other.
  ASSERT_TRUE(session.screen().eventually([&] { return height() > heightBefore; }));
  EXPECT_TRUE(session.screen().eventually(
      [&] { return interface.ask("where deleteButton", "at ") == before; }));
}

}  // namespace
}  // namespace quillo
