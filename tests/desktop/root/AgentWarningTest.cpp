// What the user hears of an infected file, and what a click does with it.

#include <algorithm>
#include <filesystem>

#include "tests/desktop/root/AgentOnDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

// Places of the buttons, from the left.
enum Button : std::size_t { showButton, ignoreButton, trashButton };

constexpr const char* threat = "Eicar-Test-Signature.UNOFFICIAL";

class AgentWarning : public AgentOnDesktop {
 protected:
  void SetUp() override {
    logIn();
    session().startPanel();
    notifications_ = std::make_unique<NotificationServer>(session());
    startAndAwaitWatching();
    ASSERT_TRUE(showsIcon(Icon::watching));
  }

  std::string saveInfected(const std::string& name) {
    std::string path = home().saveInfected(name);
    EXPECT_TRUE(home().logHas(path + ": " + threat + " FOUND"));
    return path;
  }

  // So many are on the screen at a time.
  static constexpr std::size_t shown = 3;
  void saveInfectedFiles(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      home().saveInfected("bad" + std::to_string(i) + ".com");
    }
    ASSERT_TRUE(home().logHas(std::string(threat) + " FOUND", static_cast<int>(count)));
    ASSERT_TRUE(showsWindows(std::min(count, shown), warningTitle));
    ASSERT_EQ(buttonsOf(warningTitle), 3U);
  }

  std::unique_ptr<NotificationServer> notifications_;
};

TEST_F(AgentWarning, NamesTheFileAndTheThreatInANotification) {
  const std::string path = saveInfected("invoice.pdf.com");
  EXPECT_TRUE(bus().hears("Notify", path));
  EXPECT_EQ(bus().count("Notify", threat), 1);
}

TEST_F(AgentWarning, IsShownInAWindow) {
  saveInfected("invoice.pdf.com");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  EXPECT_EQ(buttonsOf(warningTitle), 3U);
}

TEST_F(AgentWarning, LetsTheFileBeMovedToTheTrash) {
  const std::string path = saveInfected("50% off, \xC3\xA9t\xC3\xA9.com");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  clickButton(warningTitle, trashButton);
  EXPECT_TRUE(showsWindows(0, warningTitle));
  EXPECT_FALSE(std::filesystem::exists(path));
  const std::string trash = home().home() + "/.local/share/Trash";
  EXPECT_TRUE(std::filesystem::exists(trash + "/files/50% off, \xC3\xA9t\xC3\xA9.com"));
  const std::string info = readFile(trash + "/info/50% off, \xC3\xA9t\xC3\xA9.com.trashinfo");
  EXPECT_NE(info.find("\nPath=/home/ada/Downloads/50%25%20off%2C%20%C3%A9t%C3%A9.com\n"),
            std::string::npos)
      << info;
}

TEST_F(AgentWarning, SaysNoMoreOfAFileThatWentToTheTrash) {
  const std::string path = saveInfected("bad.com");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  clickButton(warningTitle, trashButton);
  ASSERT_TRUE(showsWindows(0, warningTitle));
  const std::string after = home().save("after.txt", "after");
  ASSERT_TRUE(home().logHas(after + ": OK"));
  EXPECT_EQ(home().linesWith("FOUND"), 1);
}

TEST_F(AgentWarning, LeavesTheFileWhereItIsWhenIgnored) {
  const std::string path = saveInfected("bad.com");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  clickButton(warningTitle, ignoreButton);
  EXPECT_TRUE(showsWindows(0, warningTitle));
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(AgentWarning, ShowsTheFileInTheFileManagerWhenIgnoredWithAlt) {
  const StandInService fileManager(session().busAddress(), "org.freedesktop.FileManager1");
  saveInfected("bad.com");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  // Many window managers keep a click with Alt for themselves.
  focus(warningTitle);
  session().press("Tab");
  session().press("Tab");
  session().press("alt+Return");
  EXPECT_TRUE(bus().hears("ShowItems", "'file:///home/ada/Downloads/bad.com'"));
  EXPECT_TRUE(showsWindows(0, warningTitle));
}

TEST_F(AgentWarning, ShowsTheFileInTheFileManagerWithAButtonOfItsOwn) {
  const StandInService fileManager(session().busAddress(), "org.freedesktop.FileManager1");
  saveInfected("bad.com");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  clickButton(warningTitle, showButton);
  EXPECT_TRUE(bus().hears("ShowItems", "'file:///home/ada/Downloads/bad.com'"));
}

TEST_F(AgentWarning, AreAllDismissedByOneClickWithCtrl) {
  constexpr std::size_t ten = 10;
  saveInfectedFiles(ten);
  session().keepPicture("ten-warnings");
  clickButton(warningTitle, ignoreButton, "ctrl");
  EXPECT_TRUE(showsWindows(0, warningTitle));
  // None of those that waited comes up: the agent has answered something else since.
  EXPECT_FALSE(session().bus().menuLayout(statusItem()).empty());
  EXPECT_EQ(session().screen().countWindows(warningTitle), 0U);
  for (std::size_t i = 0; i < ten; ++i) {
    EXPECT_TRUE(std::filesystem::exists(home().guarded("bad" + std::to_string(i) + ".com")));
  }
}

TEST_F(AgentWarning, IsDismissedAloneByAClickWithoutCtrl) {
  saveInfectedFiles(shown);
  clickButton(warningTitle, ignoreButton);
  EXPECT_TRUE(showsWindows(shown - 1, warningTitle));
}

}  // namespace
}  // namespace quillo::tests
