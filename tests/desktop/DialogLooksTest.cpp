#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/desktop/support/BusMonitor.h"
#include "tests/desktop/support/DesktopSession.h"
#include "tests/desktop/support/FaceProgram.h"

namespace quillo {
namespace {

const QRect wholeScreen(0, 0, DesktopSession::width, DesktopSession::height);
constexpr QRgb darkBackground = 0x232629;
// Where Qt knows nothing of the theme.
constexpr QRgb ownDarkBackground = 0x242424;
constexpr QRgb white = 0xffffff;

class DialogLooks : public testing::Test {
 protected:
  void warn(FaceProgram& face) {
    std::string path = "/home/anna";
    while (path.size() < 4000) {
      path += "/a folder with a long name";
    }
    face.ask("load WarningDialog", "loaded");
    face.ask("message " + path + ": Win.Test.Agent-12345 FOUND", "message ");
    face.tell("front");
    awaitWindow();
    face.ask("where deleteButton", "at ");
  }
  void showQuarantined(FaceProgram& face) {
    face.ask("load QuarantinedDialog", "loaded");
    face.tell("front");
    awaitWindow();
    face.ask("where deleteButton", "at ");
  }
  void showNoEngine(FaceProgram& face) {
    face.tell("noengine");
    awaitWindow();
    face.ask("where closeButton", "at ");
  }

  void awaitWindow() {
    ASSERT_TRUE(
        session.screen().eventually([&] { return session.screen().windowTitles().size() == 1; }));
  }

  // Of the window with that widget, frame and all.
  static QRect areaOf(FaceProgram& face, const std::string& widget) {
    std::istringstream numbers(face.ask("area " + widget, "area "));
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    numbers >> x >> y >> width >> height;
    return {x, y, width, height};
  }

  void expectWhollyOnTheScreen(FaceProgram& face, const std::string& widget) {
    const QRect area = areaOf(face, widget);
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
  FaceProgram face(session, dense, "-2", language());
  warn(face);
  session.keepPicture("warning-dense-" + language());
  expectWhollyOnTheScreen(face, "deleteButton");
}

TEST_P(DialogLooksIn, TheMissingEnginesIsWhollyOnADenseScreen) {
  FaceProgram face(session, dense, "-2", language());
  showNoEngine(face);
  session.keepPicture("no-engine-dense-" + language());
  expectWhollyOnTheScreen(face, "closeButton");
}

TEST_P(DialogLooksIn, ThatOfAQuarantinedFileIsWhollyOnADenseScreen) {
  FaceProgram face(session, dense, "-2", language());
  showQuarantined(face);
  session.keepPicture("quarantined-dense-" + language());
  expectWhollyOnTheScreen(face, "deleteButton");
}

INSTANTIATE_TEST_SUITE_P(EveryLanguage, DialogLooksIn,
                         testing::Values("de", "en", "es", "fr", "ja"),
                         [](const auto& each) { return std::string(each.param); });

TEST_F(DialogLooks, OfAWarningFollowADarkTheme) {
  session.makeDark();
  FaceProgram face(session, DesktopSession::darkVariables());
  warn(face);
  session.keepPicture("warning-dark");
  expectDark(areaOf(face, "deleteButton"));
}

TEST_F(DialogLooks, OfAWarningAreDarkWhereTheDesktopSaysThatItsUserPrefersThat) {
  const StandInService portal(session.busAddress(), "org.freedesktop.portal.Desktop",
                              {{"Read", "(<<uint32 1>>,)"}});
  FaceProgram face(session);
  warn(face);
  session.keepPicture("warning-dark-by-portal");
  expectDark(areaOf(face, "deleteButton"), ownDarkBackground);
}

TEST_F(DialogLooks, OfAWarningAreBrightWhereTheDesktopSaysNothingElse) {
  const StandInService portal(session.busAddress(), "org.freedesktop.portal.Desktop",
                              {{"Read", "(<<uint32 0>>,)"}});
  FaceProgram face(session);
  warn(face);
  constexpr QRgb brightBackground = 0xefefef;
  const QRect window = areaOf(face, "deleteButton");
  EXPECT_TRUE(session.screen().find(brightBackground, window).has_value());
}

TEST_F(DialogLooks, OfTheMissingEngineFollowADarkTheme) {
  session.makeDark();
  FaceProgram face(session, DesktopSession::darkVariables());
  showNoEngine(face);
  session.keepPicture("no-engine-dark");
  expectDark(areaOf(face, "closeButton"));
}

TEST_F(DialogLooks, OfAQuarantinedFileFollowADarkTheme) {
  session.makeDark();
  FaceProgram face(session, DesktopSession::darkVariables());
  showQuarantined(face);
  session.keepPicture("quarantined-dark");
  expectDark(areaOf(face, "deleteButton"));
}

}  // namespace
}  // namespace quillo
