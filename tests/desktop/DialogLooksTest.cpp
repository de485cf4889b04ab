#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/bus/BusMonitor.h"
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

}  // namespace
}  // namespace quillo
