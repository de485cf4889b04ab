// A picture of every page for people, in build/<preset>/screenshots.

#include <gtest/gtest.h>
#include <unistd.h>

#include <QImage>

#include "platform/linux/text/StringTables.h"
#include "tests/desktop/support/controls/InterfaceControls.h"
#include "tests/desktop/support/session/DesktopSession.h"
#include "tests/desktop/support/session/SwaySession.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

const std::string program = QUILLO_BINARY_DIR "/vantrel";

std::string titleOf(const std::string& page, const std::string& language) {
  StringTables strings(StringTables::foldersOfCompanion(QUILLO_SOURCE_DIR "/resources/strings"),
                       {language}, nullptr);
  const std::string key = "WINDOW_PAGE_" + QString::fromStdString(page).toUpper().toStdString();
  return strings.stringForKey(key, "no title") + " – Vantrel";
}

std::vector<std::string> commandFor(const std::string& page, const std::string& language,
                                    const std::vector<std::string>& variables) {
  std::vector<std::string> command = {"env", "LC_ALL=" + language + ".UTF-8"};
  command.insert(command.end(), variables.begin(), variables.end());
  command.insert(command.end(), {program, "--page", page});
  return command;
}

struct Look {
  const char* language;
  bool isDark;

  std::vector<std::string> variables() const {
    return isDark ? UserSession::darkVariables() : std::vector<std::string>();
  }
  std::string pictureOf(const std::string& page) const {
    return "vantrel-" + page + "-" + language + (isDark ? "-dark" : "");
  }
};

// Its title comes before its contents: what lies to the right of the list has to be another.
bool showsAnother(const QImage& before, const QImage& now, const QRect& window) {
  const QRect contents = window.adjusted(window.width() / 4, window.height() / 8, 0, 0);
  return now.copy(contents) != before.copy(contents);
}

class VantrelPages : public testing::TestWithParam<Look> {};

TEST_P(VantrelPages, AreAllShownOnADesktop) {
  const Look look = GetParam();
  DesktopSession session;
  if (look.isDark) {
    session.makeDark();
  }
  std::unique_ptr<ChildProcess> first;
  for (const std::string& page : interfacePages()) {
    Screen& screen = session.screen();
    const QImage before = screen.picture();
    const std::string title = titleOf(page, look.language);
    auto process = session.startCommand(commandFor(page, look.language, look.variables()));
    // A window that is not drawn yet lets the desktop through.
    const QRgb desktop = before.pixel(0, 0);
    EXPECT_TRUE(screen.eventually([&] {
      const std::vector<QRect> windows = screen.windowAreas(title);
      return windows.size() == 1 && showsAnother(before, screen.picture(), windows.front()) &&
             !screen.find(desktop, windows.front());
    })) << page;
    first ? static_cast<void>(process->waitUntilExit()) : first.swap(process);
    session.keepPicture(look.pictureOf(page));
  }
  EXPECT_EQ(session.log().find("The page "), std::string::npos) << session.log();
}

TEST_P(VantrelPages, AreAllShownAtScale2UnderWayland) {
  const Look look = GetParam();
  const TemporaryFolder home;
  SwaySession session({home.path(), geteuid() == 0 ? 65534U : 0U},
                      {2, false, "output HEADLESS-1 resolution 2560x1600"});
  if (look.isDark) {
    session.makeDark();
  }
  std::unique_ptr<ChildProcess> first;
  for (const std::string& page : interfacePages()) {
    const QImage before = session.picture();
    const std::string title = titleOf(page, look.language);
    auto process = session.startCommand(commandFor(page, look.language, look.variables()));
    EXPECT_TRUE(session.eventually([&] {
      const auto window = session.window(title);
      const QSize size = window ? window->area.size() * session.scale() : QSize();
      return window && showsAnother(before, session.picture(),
                                    {window->area.topLeft() * session.scale(), size});
    })) << page;
    first ? static_cast<void>(process->waitUntilExit()) : first.swap(process);
    session.keepPicture(look.pictureOf(page) + "-scale-2");
  }
  EXPECT_EQ(session.log().find("The page "), std::string::npos) << session.log();
}

INSTANTIATE_TEST_SUITE_P(InTwoLanguages, VantrelPages,
                         testing::Values(Look{"en", false}, Look{"en", true}, Look{"de", false},
                                         Look{"de", true}),
                         [](const auto& each) {
                           return std::string(each.param.language) +
                                  (each.param.isDark ? "Dark" : "Light");
                         });

}  // namespace
}  // namespace quillo
