#include <gtest/gtest.h>

#include <optional>

#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace quillo {
namespace {

// The colour of the beam in "dock_scanning1" to "dock_scanning8".
constexpr QRgb scanningColour = 0xffd34d;
const QRect wholeScreen(0, 0, DesktopSession::width, DesktopSession::height);

class DockTileTest : public testing::Test {
 protected:
  void SetUp() override {
    interface.send("dockimage dock_watching");
    interface.send("dockstate Watching two folders");
    interface.send("dockfolders ~/Documents/:~/Downloads/");
    interface.send("verdict 12:00:01 ~/Downloads/holiday.jpg scanned");
    interface.send("verdict 12:00:02 ~/Downloads/invoice.zip Win.Test.Agent-12345 threat");
    ASSERT_EQ(interface.ask("dock", "foreground "), "0");
    interface.expect("focus Vantrel Quillo");
    ASSERT_TRUE(session.screen().eventually(
        [&] { return session.screen().countWindows("Vantrel Quillo") == 1; }));
  }

  DesktopSession session;
  InterfaceProgram interface { session };
};

TEST_F(DockTileTest, SaysWhatTheAgentDoes) {
  session.keepPicture("dock-tile");
  EXPECT_EQ(interface.ask("text theState", "text "), "Watching two folders");
}

TEST_F(DockTileTest, ListsFoldersAndVerdictsNewestFirst) {
  EXPECT_EQ(interface.ask("rows theFolders", "rows "), "~/Documents/;~/Downloads/");
  EXPECT_EQ(interface.ask("rows theVerdicts", "rows "),
            "12:00:02,~/Downloads/invoice.zip,Win.Test.Agent-12345;"
            "12:00:01,~/Downloads/holiday.jpg,scanned");
}

TEST_F(DockTileTest, TakesNoFilesNameForMarkup) {
  interface.send("verdict 12:00:03 ~/<b>x</b>&lt; <i>Win</i>");
  ASSERT_TRUE(session.screen().eventually([&] {
    return interface.ask("rows theVerdicts", "rows ")
        .starts_with("12:00:03,~/<b>x</b>&lt;,<i>Win</i>;");
  }));
  const std::string tips = interface.ask("tips theVerdicts", "tips ");
  for (const char* markup : {"<b", "</b", "&lt", "<i"}) {
    EXPECT_EQ(tips.find(markup), std::string::npos) << tips;
  }
}

TEST_F(DockTileTest, HasItsStateReadByScreenReaders) {
  EXPECT_EQ(interface.ask("spoken theState", "spoken "),
            "Watching two folders|What Vantrel Quillo is doing|");
}

TEST_F(DockTileTest, KeepsTheLastTenOfAStormOfVerdicts) {
  for (int number = 1; number <= 1000; ++number) {
    interface.send("verdict 12:00:03 ~/" + std::to_string(number) + " scanned");
  }
  std::string rows = "12:00:03,~/1000,scanned";
  for (int number = 999; number > 990; --number) {
    rows += ";12:00:03,~/" + std::to_string(number) + ",scanned";
  }
  EXPECT_TRUE(session.screen().eventually(
      [&] { return interface.ask("rows theVerdicts", "rows ") == rows; }));
}

TEST_F(DockTileTest, ShowsAnotherStateAndAnotherPicture) {
  interface.send("dockstate Scanning 1,204 files");
  interface.send("dockimage dock_scanning3");
  ASSERT_TRUE(session.screen().eventually(
      [&] { return interface.ask("text theState", "text ") == "Scanning 1,204 files"; }));
  EXPECT_TRUE(session.screen().eventually(
      [&] { return session.screen().find(scanningColour, wholeScreen).has_value(); }));
}

TEST_F(DockTileTest, ShowsAgainAfterBeingMinimisedWhatHasChanged) {
  session.press("alt+F4");
  interface.expect("minimised");
  interface.send("dockimage dock_scanning1");
  interface.ask("sync", "synced");
  EXPECT_FALSE(session.screen().find(scanningColour, wholeScreen).has_value());
  interface.ask("dock", "foreground ");
  EXPECT_TRUE(session.screen().eventually(
      [&] { return session.screen().find(scanningColour, wholeScreen).has_value(); }));
}

TEST_F(DockTileTest, IsMinimisedWhenClosed) {
  session.press("alt+F4");
  interface.expect("minimised");
  EXPECT_EQ(session.screen().countWindows("Vantrel Quillo"), 1U);
}

TEST_F(DockTileTest, QuitsFromItsOwnMenu) {
  session.press("ctrl+q");
  interface.expect("terminated");
}

TEST_F(DockTileTest, StaysWhenItWasBroughtForwardMeanwhile) {
  EXPECT_EQ(interface.ask("activate", "foreground "), "0");
  session.press("alt+F4");
  interface.expect("minimised");
  EXPECT_EQ(session.screen().countWindows("Vantrel Quillo"), 1U);
}

// Where no entry in the task bar is wanted.
class DockTileOnRequest : public testing::Test {
 protected:
  bool becomes(std::size_t windows) {
    return session.screen().eventually(
        [&] { return session.screen().countWindows("Vantrel Quillo") == windows; });
  }
  void SetUp() override {
    interface.send("dockimage dock_watching");
    interface.send("dockstate Watching two folders");
    ASSERT_EQ(interface.ask("activate", "foreground "), "0");
    interface.expect("focus Vantrel Quillo");
    ASSERT_TRUE(becomes(1));
  }

  DesktopSession session;
  InterfaceProgram interface { session };
};

TEST_F(DockTileOnRequest, IsGoneWhenClosedAndQuitsNothing) {
  session.press("alt+F4");
  ASSERT_TRUE(becomes(0));
  EXPECT_EQ(interface.ask("sync", "synced"), "");
}

TEST_F(DockTileOnRequest, ShowsWhatHasChangedWhenItIsAskedForAgain) {
  session.press("alt+F4");
  ASSERT_TRUE(becomes(0));
  interface.send("dockstate Scanning 1,204 files");
  interface.send("dockimage dock_scanning1");
  EXPECT_EQ(interface.ask("activate", "foreground "), "0");
  ASSERT_TRUE(becomes(1));
  EXPECT_EQ(interface.ask("text theState", "text "), "Scanning 1,204 files");
  EXPECT_TRUE(session.screen().eventually(
      [&] { return session.screen().find(scanningColour, wholeScreen).has_value(); }));
}

TEST_F(DockTileOnRequest, ComesInFrontOfOtherWindows) {
  interface.ask("load WarningDialog", "loaded");
  interface.send("front");
  ASSERT_TRUE(session.screen().eventually(
      [&] { return session.screen().countWindows("Malware Found") == 1; }));
  const QRect place = session.screen().windowAreas("Vantrel Quillo").back();
  EXPECT_EQ(interface.ask("activate", "foreground "), "0");
  EXPECT_TRUE(
      session.screen().eventually([&] { return session.screen().activeWindowArea() == place; }));
}

class DockTileLooks : public testing::Test {
 protected:
  void show(const std::vector<std::string>& variables, const std::string& picture) {
    InterfaceProgram interface(session, variables);
    interface.send("dockimage dock_scanning1");
    interface.send("dockstate Scanning 1,204 files");
    interface.send("dockfolders ~/Documents/:~/Downloads/:/srv/exchange/");
    for (const char* line :
         {"12:00:01 ~/Downloads/a-rather-long-name-of-a-folder/with/holiday.jpg scanned",
          "12:00:02 ~/Downloads/invoice.zip Win.Test.Agent-12345 threat",
          "12:00:03 /srv/exchange/minutes.odt scanned"}) {
      interface.send(std::string("verdict ") + line);
    }
    ASSERT_EQ(interface.ask("dock", "foreground "), "0");
    interface.expect("focus Vantrel Quillo");
    interface.ask("where theVerdicts", "at ");
    ASSERT_TRUE(session.screen().eventually([&] {
      beam = session.screen().find(scanningColour, wholeScreen);
      return beam.has_value();
    }));
    session.keepPicture(picture);
    background = session.screen().find(0x232629, wholeScreen);
  }

  DesktopSession session;
  std::optional<QRect> beam;
  std::optional<QRect> background;
};

TEST_F(DockTileLooks, AreTwiceAsLargeOnADenseScreen) {
  show({}, "dock-tile-scanning");
  const int width = beam.value_or(QRect()).width();
  show({"QT_SCALE_FACTOR=2"}, "dock-tile-dense");
  EXPECT_NEAR(beam.value_or(QRect()).width(), 2 * width, 4);
}

TEST_F(DockTileLooks, FollowADarkTheme) {
  session.makeDark();
  show(DesktopSession::darkVariables(), "dock-tile-dark");
  EXPECT_GT(background.value_or(QRect()).height(), 300);
  // Nothing of the light theme shines through the lists.
  const QRect lists(260, 380, 500, 220);
  EXPECT_FALSE(session.screen().find(0xffffff, lists).has_value());
}

}  // namespace
}  // namespace quillo
