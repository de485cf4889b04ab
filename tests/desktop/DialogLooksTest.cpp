#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/bus/BusConnection.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace quillo {
namespace {

const QRect wholeScreen(0, 0, DesktopSession::width, DesktopSession::height);
constexpr QRgb darkBackground = 0x232629;
// Where Qt knows nothing of the theme.
constexpr QRgb ownDarkBackground = 0x242424;
constexpr QRgb white = 0xffffff;

class DialogLooks : public testing::Test {
 protected:
  void warn(InterfaceProgram& interface) {
    std::string path = "/home/anna";
    while (path.size() < 4000) {
      path += "/a folder with a long name";
    }
    interface.ask("load WarningDialog", "loaded");
    interface.ask("message " + path + ": Win.Test.Agent-12345 FOUND", "message ");
    interface.send("front");
    awaitWindow();
    interface.ask("where deleteButton", "at ");
  }
  void showQuarantined(InterfaceProgram& interface) {
    interface.ask("load QuarantinedDialog", "loaded");
    interface.send("front");
    awaitWindow();
    interface.ask("where deleteButton", "at ");
  }
  void showNoEngine(InterfaceProgram& interface) {
    interface.send("noengine");
    awaitWindow();
    interface.ask("where closeButton", "at ");
  }

  void awaitWindow() {
    ASSERT_TRUE(
        session.screen().eventually([&] { return session.screen().windowTitles().size() == 1; }));
  }

  // Of the window with that widget, frame and all.
  static QRect areaOf(InterfaceProgram& interface, const std::string& widget) {
    std::istringstream numbers(interface.ask("area " + widget, "area "));
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    numbers >> x >> y >> width >> height;
    return {x, y, width, height};
  }

  void expectWhollyOnTheScreen(InterfaceProgram& interface, const std::string& widget) {
    const QRect area = areaOf(interface, widget);
    EXPECT_TRUE(wholeScreen.contains(area))
        << area.x() << "," << area.y() << " " << area.width() << "x" << area.height();
  }

  void expectDark(const QRect& window, QRgb background = darkBackground) {
    // Beside the picture, which is the same on every desktop.
    constexpr int picture = 110;
    const QRect texts = window.adjusted(picture, 30, -4, -4);
    ASSERT_TRUE(session.screen().eventually(
        [&] { return session.screen().find(background, texts).has_value(); }));
    EXPECT_FALSE(session.screen().find(white, texts).has_value());
  }

  DesktopSession session;
  const std::vector<std::string> dense = {"QT_SCALE_FACTOR=2"};
};

class DialogLooksIn : public DialogLooks, public testing::WithParamInterface<const char*> {
 protected:
  std::string language() const { return GetParam(); }
};

TEST_P(DialogLooksIn, AWarningOfALongPathIsWhollyOnADenseScreen) {
  InterfaceProgram interface(session, dense, "-2", language());
  warn(interface);
  session.keepPicture("warning-dense-" + language());
  expectWhollyOnTheScreen(interface, "deleteButton");
}

TEST_P(DialogLooksIn, TheMissingEnginesIsWhollyOnADenseScreen) {
  InterfaceProgram interface(session, dense, "-2", language());
  showNoEngine(interface);
  session.keepPicture("no-engine-dense-" + language());
  expectWhollyOnTheScreen(interface, "closeButton");
}

TEST_P(DialogLooksIn, ThatOfAQuarantinedFileIsWhollyOnADenseScreen) {
  InterfaceProgram interface(session, dense, "-2", language());
  showQuarantined(interface);
  session.keepPicture("quarantined-dense-" + language());
  expectWhollyOnTheScreen(interface, "deleteButton");
}

INSTANTIATE_TEST_SUITE_P(EveryLanguage, DialogLooksIn,
                         testing::Values("de", "en", "es", "fr", "ja"),
                         [](const auto& each) { return std::string(each.param); });

TEST_F(DialogLooks, OfAWarningFollowADarkTheme) {
  session.makeDark();
  InterfaceProgram interface(session, DesktopSession::darkVariables());
  warn(interface);
  session.keepPicture("warning-dark");
  expectDark(areaOf(interface, "deleteButton"));
}

TEST_F(DialogLooks, OfAWarningAreDarkWhereTheDesktopSaysThatItsUserPrefersThat) {
  const StandInService portal(session.busAddress(), "org.freedesktop.portal.Desktop",
                              {{"Read", "(<<uint32 1>>,)"}});
  InterfaceProgram interface(session);
  warn(interface);
  session.keepPicture("warning-dark-by-portal");
  expectDark(areaOf(interface, "deleteButton"), ownDarkBackground);
}

TEST_F(DialogLooks, OfAWarningAreBrightWhereTheDesktopSaysNothingElse) {
  const StandInService portal(session.busAddress(), "org.freedesktop.portal.Desktop",
                              {{"Read", "(<<uint32 0>>,)"}});
  InterfaceProgram interface(session);
  warn(interface);
  constexpr QRgb brightBackground = 0xefefef;
  const QRect window = areaOf(interface, "deleteButton");
  EXPECT_TRUE(session.screen().find(brightBackground, window).has_value());
}

TEST_F(DialogLooks, OfTheMissingEngineFollowADarkTheme) {
  session.makeDark();
  InterfaceProgram interface(session, DesktopSession::darkVariables());
  showNoEngine(interface);
  session.keepPicture("no-engine-dark");
  expectDark(areaOf(interface, "closeButton"));
}

TEST_F(DialogLooks, OfAQuarantinedFileFollowADarkTheme) {
  session.makeDark();
  InterfaceProgram interface(session, DesktopSession::darkVariables());
  showQuarantined(interface);
  session.keepPicture("quarantined-dark");
  expectDark(areaOf(interface, "deleteButton"));
}

class DialogWords : public testing::Test {
 protected:
  void load(const std::string& name) { interface.ask("load " + name, "loaded"); }
  void show() {
    interface.send("front");
    ASSERT_TRUE(
        session.screen().eventually([&] { return session.screen().windowTitles().size() == 1; }));
  }
  void warn(const std::string& line) {
    load("WarningDialog");
    interface.ask("message " + line, "message ");
    show();
  }
  std::string text(const std::string& name) { return interface.ask("text " + name, "text "); }
  std::string visible(const std::string& name) {
    return interface.ask("visible " + name, "visible ");
  }

  DesktopSession session;
  InterfaceProgram interface { session };
};

TEST_F(DialogWords, CallAHeuristicFindSuspicious) {
  warn("/home/anna/a.zip: Heuristics.Encrypted.Zip FOUND");
  EXPECT_EQ(session.screen().windowTitles().front(), "Suspicious File Found");
  EXPECT_EQ(text("theHeading"), "This file is suspicious");
  EXPECT_NE(text("theExplanation").find("may be harmless"), std::string::npos);
  session.keepPicture("warning-suspicious");
}

TEST_F(DialogWords, CallAKnownThreatMalwareWhateverTheFileIsCalled) {
  warn("/home/anna/Heuristics.a: Heuristics.b: Win.Test FOUND");
  EXPECT_EQ(session.screen().windowTitles().front(), "Malware Found");
  EXPECT_EQ(text("theHeading"), "This file contains malware");
}

TEST_F(DialogWords, OfASuspiciousFileInTheQuarantineSayThatItMayBeHarmless) {
  load("QuarantinedDialog");
  interface.send("suspicious");
  show();
  EXPECT_EQ(text("theHeading"), "A suspicious file was found");
  EXPECT_NE(text("theMessage").find("may be harmless"), std::string::npos);
}

TEST_F(DialogWords, OfAQuarantinedFileNameItAndPromiseNothing) {
  load("QuarantinedDialog");
  interface.send("subject /home/anna/<b>a</b>.zip");
  show();
  EXPECT_EQ(text("theSubject"), "/home/anna/<b>a</b>.zip");
  EXPECT_EQ(text("theMessage"),
            "The engine was told to move the file to the quarantine folder. See there whether it "
            "has arrived before you delete it or put it back.");
  session.keepPicture("quarantined-named");
}

TEST_F(DialogWords, NameNoFileWhereNoneWasGiven) {
  load("QuarantinedDialog");
  show();
  EXPECT_EQ(visible("theSubject"), "0");
  EXPECT_EQ(visible("subjectLabel"), "0");
}

TEST_F(DialogWords, OfALinkNameBothFiles) {
  load("WarningDialog");
  interface.ask("message /home/anna/link: Win.Test FOUND", "message ");
  interface.send("subject /srv/target.exe");
  show();
  EXPECT_EQ(text("theMessage"), "/home/anna/link");
  EXPECT_EQ(text("subjectLabel"), "Leads to:");
  EXPECT_EQ(text("theSubject"), "/srv/target.exe");
  session.keepPicture("warning-link");
}

TEST_F(DialogWords, OfAProblemOfTheEngineAreHeadingReasonAndAdvice) {
  interface.send("noengine-text No update log\\nThe log is <b>not</b> known.\\nChoose one.");
  interface.send("noengine");
  ASSERT_TRUE(
      session.screen().eventually([&] { return session.screen().windowTitles().size() == 1; }));
  EXPECT_EQ(text("theHeading"), "No update log");
  EXPECT_EQ(text("theMessage"), "The log is <b>not</b> known.");
  EXPECT_EQ(text("theAdvice"), "Choose one.");
}

TEST_F(DialogWords, OfALongNameDoNotWidenTheWindow) {
  warn("/home/anna/a.zip: Win.Test FOUND");
  const auto width = [this] {
    std::istringstream area(interface.ask("area ignoreButton", "area "));
    int x = 0;
    int y = 0;
    int length = 0;
    area >> x >> y >> length;
    return length;
  };
  ASSERT_TRUE(session.screen().eventually(
      [&] { return interface.ask("framed ignoreButton", "framed ") == "1"; }));
  const int before = width();
  interface.send("failure Not moved: /home/anna/" + std::string(250, 'x') + ".zip");
  interface.ask("sync", "synced");
  EXPECT_EQ(width(), before);
  session.keepPicture("warning-failure-long");
}

TEST_F(DialogWords, SayInTheOpenWindowWhatDidNotWork) {
  warn("/home/anna/a.zip: Win.Test FOUND");
  EXPECT_EQ(visible("theFailure"), "0");
  interface.send("failure The file could not be moved to the trash: <i>no space</i>.");
  EXPECT_EQ(visible("theFailure"), "1");
  EXPECT_EQ(text("theFailure"), "The file could not be moved to the trash: <i>no space</i>.");
  session.keepPicture("warning-failure");
  interface.clickOn("ignoreButton");
  EXPECT_EQ(interface.expect("pressed "), "0 other 0");
}

// What has the focus is what every screen reader reads.
TEST_F(DialogWords, HaveAFailureReadByScreenReaders) {
  warn("/home/anna/a.zip: Win.Test FOUND");
  interface.send("failure It could not be done.");
  EXPECT_EQ(interface.ask("focused-in-window theFailure", "focused "), "theFailure");
  EXPECT_EQ(interface.ask("spoken theFailure", "spoken "), "It could not be done.||");
}

TEST_F(DialogWords, OfAShortPathShowTheWholeOfIt) {
  warn("/home/anna/a.zip: Win.Test FOUND");
  EXPECT_EQ(interface.ask("bottom theMessage", "bottom "), "1");
  EXPECT_EQ(interface.ask("top theMessage", "top "), "1");
}

TEST_F(DialogWords, OfAPathOfFourThousandBytesShowTheFilesName) {
  std::string path = "/home/anna";
  while (path.size() < 3980) {
    path += "/a folder with a long name";
  }
  warn(path + "/Quittung.exe: Win.Test FOUND");
  EXPECT_TRUE(session.screen().eventually(
      [&] { return interface.ask("bottom theMessage", "bottom ") == "1"; }));
  session.keepPicture("warning-long-path-end");
}

}  // namespace
}  // namespace quillo
