#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <string>

#include "platform/ModifierKeys.h"
#include "tests/desktop/support/DesktopSession.h"
#include "tests/desktop/support/FaceProgram.h"

namespace quillo {
namespace {

const std::string title = "Malware Found";
const std::string option = std::to_string(ModifierKeys::optionKey);
const std::string command = std::to_string(ModifierKeys::commandKey);

class DialogTest : public testing::Test {
 protected:
  void warn(const std::string& path) {
    face.ask("load WarningDialog", "loaded");
    face.ask("message " + path + ": Win.Test FOUND", "message ");
    face.tell("front");
  }

  bool showsWindows(std::size_t count, const std::string& name = title) {
    return session.screen().eventually(
        [&] { return session.screen().countWindows(name) == count; });
  }

  // The keyboard goes where the user clicked.
  void clickInto() {
    face.clickOn("theHeading");
    face.expect("focus " + title);
  }

  void walkTo(const std::string& widget) {
    for (int steps = 0; steps < 8 && face.ask("focused", "focused ") != widget; ++steps) {
      session.press("Tab");
      face.ask("sync", "synced");
    }
  }

  DesktopSession session;
  FaceProgram face{session};
};

TEST_F(DialogTest, OfAWorkerIsShownAndAnswered) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  session.keepPicture("warning");
  face.clickOn("deleteButton");
  EXPECT_EQ(face.expect("pressed "), "0 delete 0");
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, OfWhichAButtonFailsLeavesTheAgentAlive) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  face.tell("failing-button");
  face.clickOn("deleteButton");
  EXPECT_TRUE(session.screen().eventually([&] { return session.screen().beeps() == 1; }));
  face.clickOn("ignoreButton");
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, LeavesTheKeyboardWhereTheUserTypes) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  session.press("Return");
  session.press("space");
  face.clickOn("deleteButton");
  EXPECT_EQ(face.expect("pressed "), "0 delete 0");
}

// The person was about to click on something else.
TEST_F(DialogTest, AnswersNoClickBeforeItCanHaveBeenSeen) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  ASSERT_EQ(face.ask("answers deleteButton", "answers "), "0");
  const auto shown = std::chrono::steady_clock::now();
  std::istringstream place(face.ask("place deleteButton", "at "));
  int x = 0;
  int y = 0;
  place >> x >> y;
  session.click(x, y);
  face.ask("where deleteButton", "at ");
  constexpr auto mostOfThePause = std::chrono::milliseconds(500);
  EXPECT_GE(std::chrono::steady_clock::now() - shown, mostOfThePause);
  EXPECT_EQ(session.screen().countWindows(title), 1U);
  session.click(x, y);
  EXPECT_EQ(face.expect("pressed "), "0 delete 0");
}

TEST_F(DialogTest, HasASizeThatNobodyChanges) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  face.ask("where deleteButton", "at ");
  EXPECT_EQ(face.ask("resizable deleteButton", "resizable "), "0");
}

TEST_F(DialogTest, TellsWhichKeysWereHeldAtTheClick) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  face.clickOn("ignoreButton", "ctrl");
  EXPECT_EQ(face.expect("pressed "), "0 other " + command);
  ASSERT_TRUE(showsWindows(0));
  warn("/home/anna/b.zip");
  ASSERT_TRUE(showsWindows(1));
  face.clickOn("showButton");
  EXPECT_EQ(face.expect("pressed "), "1 other " + option);
}

TEST_F(DialogTest, TakesTheAltOfAnAccessKeyForNoOption) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  clickInto();
  session.press("alt+i");
  EXPECT_EQ(face.expect("pressed "), "0 other 0");
  ASSERT_TRUE(showsWindows(0));
  warn("/home/anna/b.zip");
  ASSERT_TRUE(showsWindows(1));
  clickInto();
  walkTo("ignoreButton");
  session.press("alt+Return");
  EXPECT_EQ(face.expect("pressed "), "1 other " + option);
}

TEST_F(DialogTest, IsIgnoredWithTheEscapeKey) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  clickInto();
  session.press("Escape");
  EXPECT_EQ(face.expect("pressed "), "0 other 0");
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, ShowsAPathOfFourThousandBytesInAWindowOfUsualSize) {
  std::string path = "/home/anna";
  while (path.size() < 4000) {
    path += "/a folder with a long name";
  }
  warn(path);
  ASSERT_TRUE(showsWindows(1));
  EXPECT_EQ(face.ask("text theMessage", "text "), path);
  std::istringstream place(face.ask("where deleteButton", "at "));
  int x = 0;
  int y = 0;
  place >> x >> y;
  EXPECT_LT(x, DesktopSession::width);
  EXPECT_LT(y, DesktopSession::height);
  session.keepPicture("warning-long-path");
}

TEST_F(DialogTest, ShowsAHostilePathAsItIs) {
  warn("/home/<b>anna</b>/&amp;\\n/\u202egpj.exe: x");
  ASSERT_TRUE(showsWindows(1));
  EXPECT_EQ(face.ask("text theMessage", "text "), "/home/<b>anna</b>/&amp;\\n/\\u202egpj.exe: x");
  EXPECT_EQ(face.ask("text theThreat", "text "), "Win.Test");
}

TEST_F(DialogTest, LetsThePathBeCopiedFromAMenuInTheLanguageOfTheUser) {
  FaceProgram german(session, {}, "-2", "de");
  german.ask("load WarningDialog", "loaded");
  german.ask("message /home/anna/a.zip: Win.Test FOUND", "message ");
  german.tell("front");
  ASSERT_TRUE(
      session.screen().eventually([&] { return session.screen().windowTitles().size() == 1; }));
  for (const char* field : {"theMessage", "theThreat"}) {
    german.clickOn(field, "", 3);
    EXPECT_TRUE(session.screen().eventually(
        [&] { return german.ask("popup", "popup ") == "Kopieren;Alles auswählen"; }));
    session.keepPicture(std::string("copy-menu-of-") + field);
    session.press("Escape");
    ASSERT_TRUE(session.screen().eventually([&] { return german.ask("popup", "popup ").empty(); }));
  }
}

TEST_F(DialogTest, OfAHundredThreeAreShownAndTheRestWait) {
  for (int i = 0; i < 100; ++i) {
    warn("/home/anna/" + std::to_string(i) + ".zip");
  }
  ASSERT_TRUE(showsWindows(3));
  face.ask("sync", "synced");
  EXPECT_EQ(session.screen().countWindows(title), 3U);
  EXPECT_EQ(face.ask("text theRest", "text "), "More warnings waiting: 97");
  session.keepPicture("hundred-warnings");
  face.ask("closeall", "closed 100");
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, OfAPileAreShownOneAtATimeSoThatOthersAreAnsweredInBetween) {
  face.tell("block");
  for (int number = 0; number < 10; ++number) {
    warn("/home/anna/" + std::to_string(number));
  }
  face.tell("dialogs");
  face.tell("unblock");
  EXPECT_LE(std::stoi(face.expect("dialogs ")), 1);
  EXPECT_TRUE(showsWindows(3));
}

TEST_F(DialogTest, MakesRoomForTheNextWhenAnswered) {
  for (int i = 0; i < 5; ++i) {
    warn("/home/anna/" + std::to_string(i) + ".zip");
  }
  ASSERT_TRUE(showsWindows(3));
  for (std::size_t left = 5; left > 0; --left) {
    ASSERT_TRUE(showsWindows(std::min<std::size_t>(left, 3)));
    face.clickOn("ignoreButton");
    face.expect("pressed ");
    // The window goes, then the next one comes.
    face.ask("sync", "synced");
    face.ask("sync", "synced");
  }
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, StaysOnTheScreenWhenItsOwnerForgetsIt) {
  face.ask("load QuarantinedDialog", "loaded");
  face.tell("front");
  face.tell("forget");
  ASSERT_TRUE(showsWindows(1, "Vantrel Quillo"));
  session.keepPicture("quarantined");
  face.clickOn("ignoreButton");
  EXPECT_EQ(face.expect("pressed "), "0 other 0");
  EXPECT_TRUE(showsWindows(0, "Vantrel Quillo"));
}

TEST_F(DialogTest, TakesAnotherMessageAndAnotherTitle) {
  face.ask("load QuarantinedDialog", "loaded");
  face.ask("message The engine is <b>gone</b>", "message 25");
  face.tell("title-of-delete Quit Vantrel & Quillo");
  face.tell("front");
  ASSERT_TRUE(showsWindows(1, "Vantrel Quillo"));
  EXPECT_EQ(face.ask("text theMessage", "text "), "The engine is <b>gone</b>");
  EXPECT_EQ(face.ask("text deleteButton", "text "), "Quit Vantrel && Quillo");
}

TEST_F(DialogTest, IsLoadedAndFilledWhileTheMainThreadIsBusy) {
  face.tell("block");
  face.ask("load WarningDialog", "loaded");
  EXPECT_EQ(face.ask("message /a: B FOUND", "message "), "11");
  face.tell("front");
  EXPECT_EQ(face.ask("enable start", "start "), "enabled");
  face.tell("unblock");
  EXPECT_TRUE(showsWindows(1));
}

TEST_F(DialogTest, WithoutItsInterfaceFileIsNotLoaded) {
  face.ask("load NoSuchDialog", "not loaded");
}

TEST_F(DialogTest, OfTheMissingEngineOffersVantrelAndItsPreferences) {
  face.tell("noengine");
  ASSERT_TRUE(showsWindows(1, "Engine Problem"));
  session.keepPicture("no-engine");
  face.clickOn("openPrefsButton");
  face.expect("prefs");
  face.clickOn("openVantrelButton");
  face.expect("vantrel");
  face.clickOn("closeButton");
  EXPECT_TRUE(showsWindows(0, "Engine Problem"));
}

TEST_F(DialogTest, OfTheMissingEngineOffersThePreferencesAloneWhereThereIsNoVantrel) {
  face.tell(
      "noengine-alone No preferences yet\\nThere is no file "
      "/home/ada/.config/vantrel/org.vantrel.Vantrel.toml, so it is not known what to guard. "
      "Nothing is guarded.\\nRun '/usr/lib/vantrel-quillo/engine-tools/vantrel-engine-tree' "
      "'/home/ada/.local/share/vantrel/engine'");
  ASSERT_TRUE(showsWindows(1, "Engine Problem"));
  session.keepPicture("no-engine-alone");
  face.clickOn("openPrefsButton");
  face.expect("edit");
  face.clickOn("closeButton");
  EXPECT_TRUE(showsWindows(0, "Engine Problem"));
}

TEST_F(DialogTest, OfTheUpdateShowsItsResult) {
  face.tell("update The virus definitions have been updated.");
  ASSERT_TRUE(showsWindows(1, "Update of the Virus Definitions"));
  EXPECT_EQ(face.ask("text updateWindowText", "text "), "The virus definitions have been updated.");
  face.clickOn("closeButton");
  EXPECT_TRUE(showsWindows(0, "Update of the Virus Definitions"));
}

TEST_F(DialogTest, OfTheUpdateHasItsResultReadByScreenReaders) {
  face.tell("update The virus definitions have been updated.");
  ASSERT_TRUE(showsWindows(1, "Update of the Virus Definitions"));
  EXPECT_EQ(face.ask("spoken updateWindowText", "spoken "),
            "The virus definitions have been updated.|Result of the update|");
  EXPECT_EQ(face.ask("spoken theDialog", "spoken "),
            "Update of the Virus Definitions|The virus definitions have been updated.|");
}

TEST_F(DialogTest, AnswersWithoutADisplay) {
  FaceProgram headless(session, {"DISPLAY=", "DBUS_SESSION_BUS_ADDRESS=disabled:"});
  headless.tell("image watching");
  headless.tell("menu");
  headless.ask("load WarningDialog", "loaded");
  EXPECT_EQ(headless.ask("message /a: B FOUND", "message "), "11");
  headless.tell("front");
  EXPECT_NE(headless.ask("dock", "foreground "), "0");
  headless.ask("terminate", "terminated");
}

}  // namespace
}  // namespace quillo
