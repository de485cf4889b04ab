#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <string>

#include "platform/ModifierKeys.h"
#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace quillo {
namespace {

const std::string title = "Malware Found";
const std::string option = std::to_string(ModifierKeys::optionKey);
const std::string command = std::to_string(ModifierKeys::commandKey);

class DialogTest : public testing::Test {
 protected:
  void warn(const std::string& path) {
    interface.ask("load WarningDialog", "loaded");
    interface.ask("message " + path + ": Win.Test FOUND", "message ");
    interface.send("front");
  }

  bool showsWindows(std::size_t count, const std::string& name = title) {
    return session.screen().eventually(
        [&] { return session.screen().countWindows(name) == count; });
  }

  // The keyboard goes where the user clicked.
  void clickInto() {
    interface.clickOn("theHeading");
    interface.expect("focus " + title);
  }

  void walkTo(const std::string& widget) {
    for (int steps = 0; steps < 8 && interface.ask("focused", "focused ") != widget; ++steps) {
      session.press("Tab");
      interface.ask("sync", "synced");
    }
  }

  DesktopSession session;
  InterfaceProgram interface { session };
};

TEST_F(DialogTest, OfAWorkerIsShownAndAnswered) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  session.keepPicture("warning");
  interface.clickOn("deleteButton");
  EXPECT_EQ(interface.expect("pressed "), "0 delete 0");
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, OfWhichAButtonFailsLeavesTheAgentAlive) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  interface.send("failing-button");
  interface.clickOn("deleteButton");
  EXPECT_TRUE(session.screen().eventually([&] { return session.screen().beeps() == 1; }));
  interface.clickOn("ignoreButton");
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, LeavesTheKeyboardWhereTheUserTypes) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  session.press("Return");
  session.press("space");
  interface.clickOn("deleteButton");
  EXPECT_EQ(interface.expect("pressed "), "0 delete 0");
}

// The person was about to click on something else.
TEST_F(DialogTest, AnswersNoClickBeforeItCanHaveBeenSeen) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  ASSERT_EQ(interface.ask("answers deleteButton", "answers "), "0");
  const auto shown = std::chrono::steady_clock::now();
  std::istringstream place(interface.ask("place deleteButton", "at "));
  int x = 0;
  int y = 0;
  place >> x >> y;
  session.click(x, y);
  interface.ask("where deleteButton", "at ");
  constexpr auto mostOfThePause = std::chrono::milliseconds(500);
  EXPECT_GE(std::chrono::steady_clock::now() - shown, mostOfThePause);
  EXPECT_EQ(session.screen().countWindows(title), 1U);
  session.click(x, y);
  EXPECT_EQ(interface.expect("pressed "), "0 delete 0");
}

TEST_F(DialogTest, IsKnownToTheDesktopByTheNameOfTheDesktopFile) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  EXPECT_EQ(session.screen().classOf(title), "org.vantrel.VantrelQuillo org.vantrel.VantrelQuillo");
}

TEST_F(DialogTest, HasASizeThatNobodyChanges) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  interface.ask("where deleteButton", "at ");
  EXPECT_EQ(interface.ask("resizable deleteButton", "resizable "), "0");
}

TEST_F(DialogTest, ReportsWhichKeysWereHeldAtTheClick) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  interface.clickOn("ignoreButton", "ctrl");
  EXPECT_EQ(interface.expect("pressed "), "0 other " + command);
  ASSERT_TRUE(showsWindows(0));
  warn("/home/anna/b.zip");
  ASSERT_TRUE(showsWindows(1));
  interface.clickOn("showButton");
  EXPECT_EQ(interface.expect("pressed "), "1 other " + option);
}

TEST_F(DialogTest, TakesTheAltOfAnAccessKeyForNoOption) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  clickInto();
  session.press("alt+i");
  EXPECT_EQ(interface.expect("pressed "), "0 other 0");
  ASSERT_TRUE(showsWindows(0));
  warn("/home/anna/b.zip");
  ASSERT_TRUE(showsWindows(1));
  clickInto();
  walkTo("ignoreButton");
  session.press("alt+Return");
  EXPECT_EQ(interface.expect("pressed "), "1 other " + option);
}

TEST_F(DialogTest, IsIgnoredWithTheEscapeKey) {
  warn("/home/anna/a.zip");
  ASSERT_TRUE(showsWindows(1));
  clickInto();
  session.press("Escape");
  EXPECT_EQ(interface.expect("pressed "), "0 other 0");
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, ShowsAPathOfFourThousandBytesInAWindowOfUsualSize) {
  std::string path = "/home/anna";
  while (path.size() < 4000) {
    path += "/a folder with a long name";
  }
  warn(path);
  ASSERT_TRUE(showsWindows(1));
  EXPECT_EQ(interface.ask("text theMessage", "text "), path);
  std::istringstream place(interface.ask("where deleteButton", "at "));
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
  EXPECT_EQ(interface.ask("text theMessage", "text "),
            "/home/<b>anna</b>/&amp;\\n/\\u202egpj.exe: x");
  EXPECT_EQ(interface.ask("text theThreat", "text "), "Win.Test");
}

TEST_F(DialogTest, LetsThePathBeCopiedFromAMenuInTheLanguageOfTheUser) {
  InterfaceProgram german(session, {}, "-2", "de");
  german.ask("load WarningDialog", "loaded");
  german.ask("message /home/anna/a.zip: Win.Test FOUND", "message ");
  german.send("front");
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
  interface.ask("sync", "synced");
  EXPECT_EQ(session.screen().countWindows(title), 3U);
  EXPECT_EQ(interface.ask("text theRest", "text "), "More warnings waiting: 97");
  session.keepPicture("hundred-warnings");
  interface.ask("closeall", "closed 100");
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, OfAPileAreShownOneAtATimeSoThatOthersAreAnsweredInBetween) {
  interface.send("block");
  for (int number = 0; number < 10; ++number) {
    warn("/home/anna/" + std::to_string(number));
  }
  interface.send("dialogs");
  interface.send("unblock");
  EXPECT_LE(std::stoi(interface.expect("dialogs ")), 1);
  EXPECT_TRUE(showsWindows(3));
}

TEST_F(DialogTest, MakesRoomForTheNextWhenAnswered) {
  for (int i = 0; i < 5; ++i) {
    warn("/home/anna/" + std::to_string(i) + ".zip");
  }
  ASSERT_TRUE(showsWindows(3));
  for (std::size_t left = 5; left > 0; --left) {
    ASSERT_TRUE(showsWindows(std::min<std::size_t>(left, 3)));
    interface.clickOn("ignoreButton");
    interface.expect("pressed ");
    // The window goes, then the next one comes.
    interface.ask("sync", "synced");
    interface.ask("sync", "synced");
  }
  EXPECT_TRUE(showsWindows(0));
}

TEST_F(DialogTest, StaysOnTheScreenWhenItsOwnerForgetsIt) {
  interface.ask("load QuarantinedDialog", "loaded");
  interface.send("front");
  interface.send("forget");
  ASSERT_TRUE(showsWindows(1, "Vantrel Quillo"));
  session.keepPicture("quarantined");
  interface.clickOn("ignoreButton");
  EXPECT_EQ(interface.expect("pressed "), "0 other 0");
  EXPECT_TRUE(showsWindows(0, "Vantrel Quillo"));
}

TEST_F(DialogTest, TakesAnotherMessageAndAnotherTitle) {
  interface.ask("load QuarantinedDialog", "loaded");
  interface.ask("message The engine is <b>gone</b>", "message 25");
  interface.send("title-of-delete Quit Vantrel & Quillo");
  interface.send("front");
  ASSERT_TRUE(showsWindows(1, "Vantrel Quillo"));
  EXPECT_EQ(interface.ask("text theMessage", "text "), "The engine is <b>gone</b>");
  EXPECT_EQ(interface.ask("text deleteButton", "text "), "Quit Vantrel && Quillo");
}

TEST_F(DialogTest, IsLoadedAndFilledWhileTheMainThreadIsBusy) {
  interface.send("block");
  interface.ask("load WarningDialog", "loaded");
  EXPECT_EQ(interface.ask("message /a: B FOUND", "message "), "11");
  interface.send("front");
  EXPECT_EQ(interface.ask("enable start", "start "), "enabled");
  interface.send("unblock");
  EXPECT_TRUE(showsWindows(1));
}

TEST_F(DialogTest, WithoutItsInterfaceFileIsNotLoaded) {
  interface.ask("load NoSuchDialog", "not loaded");
}

TEST_F(DialogTest, OfTheMissingEngineOffersVantrelAndItsPreferences) {
  interface.send("noengine");
  ASSERT_TRUE(showsWindows(1, "Engine Problem"));
  session.keepPicture("no-engine");
  interface.clickOn("openPrefsButton");
  interface.expect("prefs");
  interface.clickOn("openVantrelButton");
  interface.expect("vantrel");
  interface.clickOn("closeButton");
  EXPECT_TRUE(showsWindows(0, "Engine Problem"));
}

TEST_F(DialogTest, OfTheMissingEngineOffersThePreferencesAloneWhereThereIsNoVantrel) {
  interface.send(
      "noengine-alone No preferences yet\\nThere is no file "
      "/home/ada/.config/vantrel/org.vantrel.Vantrel.toml, so it is not known what to guard. "
      "Nothing is guarded.\\nRun '/usr/lib/vantrel-quillo/engine-tools/vantrel-engine-tree' "
      "'/home/ada/.local/share/vantrel/engine'");
  ASSERT_TRUE(showsWindows(1, "Engine Problem"));
  session.keepPicture("no-engine-alone");
  interface.clickOn("openPrefsButton");
  interface.expect("edit");
  interface.clickOn("closeButton");
  EXPECT_TRUE(showsWindows(0, "Engine Problem"));
}

TEST_F(DialogTest, OfTheUpdateShowsItsResult) {
  interface.send("update The virus definitions have been updated.");
  ASSERT_TRUE(showsWindows(1, "Update of the Virus Definitions"));
  EXPECT_EQ(interface.ask("text updateWindowText", "text "),
            "The virus definitions have been updated.");
  interface.clickOn("closeButton");
  EXPECT_TRUE(showsWindows(0, "Update of the Virus Definitions"));
}

TEST_F(DialogTest, OfTheUpdateHasItsResultReadByScreenReaders) {
  interface.send("update The virus definitions have been updated.");
  ASSERT_TRUE(showsWindows(1, "Update of the Virus Definitions"));
  EXPECT_EQ(interface.ask("spoken updateWindowText", "spoken "),
            "The virus definitions have been updated.|Result of the update|");
  EXPECT_EQ(interface.ask("spoken theDialog", "spoken "),
            "Update of the Virus Definitions|The virus definitions have been updated.|");
}

TEST_F(DialogTest, AnswersWithoutADisplay) {
  InterfaceProgram headless(session, {"DISPLAY=", "DBUS_SESSION_BUS_ADDRESS=disabled:"});
  headless.send("image watching");
  headless.send("menu");
  headless.ask("load WarningDialog", "loaded");
  EXPECT_EQ(headless.ask("message /a: B FOUND", "message "), "11");
  headless.send("front");
  EXPECT_NE(headless.ask("dock", "foreground "), "0");
  headless.ask("terminate", "terminated");
}

}  // namespace
}  // namespace quillo
