// A picture of every page for people, in build/<preset>/screenshots.

#include <gtest/gtest.h>
#include <unistd.h>

#include <QDir>

#include "platform/linux/text/StringTables.h"
#include "tests/desktop/support/session/DesktopSession.h"
#include "tests/desktop/support/session/SwaySession.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

const std::string program = QUILLO_BINARY_DIR "/vantrel";

std::vector<std::string> pages() {
  std::vector<std::string> names;
  for (const QString& file :
       QDir(QUILLO_SOURCE_DIR "/resources/interface/vantrel").entryList({"*.ui"})) {
    names.push_back(file.chopped(3).toStdString());
  }
  return names;
}

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
};

class VantrelPages : public testing::TestWithParam<Look> {};

TEST_P(VantrelPages, AreAllShownOnADesktop) {
  const Look look = GetParam();
  DesktopSession session;
  if (look.isDark) {
    session.makeDark();
  }
  const auto variables = look.isDark ? DesktopSession::darkVariables() : std::vector<std::string>();
  std::unique_ptr<ChildProcess> first;
  for (const std::string& page : pages()) {
    Screen& screen = session.screen();
    const QImage before = screen.picture();
    const std::string title = titleOf(page, look.language);
    auto process = session.startCommand(commandFor(page, look.language, variables));
    // A window that is not drawn yet lets the desktop through.
    const QRgb desktop = before.pixel(0, 0);
    EXPECT_TRUE(screen.eventually([&] {
      const std::vector<QRect> windows = screen.windowAreas(title);
      return windows.size() == 1 && screen.picture() != before &&
             !screen.find(desktop, windows.front());
    })) << page;
    first ? static_cast<void>(process->waitUntilExit()) : first.swap(process);
    session.keepPicture("vantrel-" + page + "-" + look.language + (look.isDark ? "-dark" : ""));
  }
}

INSTANTIATE_TEST_SUITE_P(InTwoLanguages, VantrelPages,
                         testing::Values(Look{"en", false}, Look{"en", true}, Look{"de", false},
                                         Look{"de", true}),
                         [](const auto& each) {
                           return std::string(each.param.language) +
                                  (each.param.isDark ? "Dark" : "Light");
                         });

TEST(VantrelPagesAtScale2, AreAllShownUnderWayland) {
  const TemporaryFolder home;
  SwaySession session({home.path(), geteuid() == 0 ? 65534U : 0U},
                      {2, false, "output HEADLESS-1 resolution 2560x1600"});
  std::unique_ptr<ChildProcess> first;
  for (const std::string& page : pages()) {
    const QImage before = session.picture();
    const std::string title = titleOf(page, "en");
    auto process = session.startCommand(commandFor(page, "en", {}));
    EXPECT_TRUE(session.eventually([&] {
      return session.window(title).has_value() && session.picture() != before;
    })) << page;
    first ? static_cast<void>(process->waitUntilExit()) : first.swap(process);
    session.keepPicture("vantrel-" + page + "-en-scale-2");
  }
}

}  // namespace
}  // namespace quillo
