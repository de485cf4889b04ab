// What the agent offers when there is no engine: the way to the main application.

#include <filesystem>
#include <fstream>

#include "tests/desktop/root/AgentOnDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

// Places of the buttons, from the left.
enum Button : std::size_t { prefsButton, vantrelButton, closeButtonAlone = 1 };

constexpr const char* title = "Engine Problem";

class AgentWithoutEngine : public AgentOnDesktop {
 protected:
  void SetUp() override {
    logIn();
    session().startPanel();
    home().writePreferences(
        "PathToClamav = \"/opt/nowhere\"\nPathToUpdateLog = \"/tmp/update.log\"\n");
  }

  void startIt() {
    start();
    ASSERT_TRUE(showsWindows(1, title));
    ASSERT_EQ(buttonsOf(title), 3U);
  }

  // Where there is no main application.
  void startAlone() {
    start();
    ASSERT_TRUE(showsWindows(1, title));
    ASSERT_EQ(buttonsOf(title), 2U);
  }

  void makeActivatable(const std::string& program = QUILLO_STAND_IN_VANTREL) {
    session().addService("org.vantrel.Vantrel", program);
    outputOf({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus",
              "/org/freedesktop/DBus", "org.freedesktop.DBus.ReloadConfig"});
  }

  void makeDesktopFile() {
    const std::string folder = home().home() + "/.local/share/applications";
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/org.vantrel.Vantrel.desktop")
        << "[Desktop Entry]\nType=Application\nName=Vantrel\nExec=" QUILLO_STAND_IN_VANTREL
           " --at-once\n";
  }

  // Opens a window of its own for text, whatever the text.
  void makeEditor(const std::string& settings) {
    const std::string folder = home().home() + "/.local/share/applications";
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/editor.desktop")
        << "[Desktop "
           "Entry]\nType=Application\nName=Editor\nMimeType=text/"
           "plain;\nExec=" QUILLO_STAND_IN_VANTREL " --at-once\n";
    std::filesystem::create_directories(settings);
    std::filesystem::permissions(settings, std::filesystem::perms::all);
    std::ofstream(settings + "/mimeapps.list")
        << "[Default Applications]\ntext/plain=editor.desktop\n";
  }

  void letTheMainApplicationShowItself() {
    outputOf({"dbus-send", "--session", "--print-reply", "--dest=org.vantrel.Vantrel",
              "/org/vantrel/Vantrel", "org.vantrel.StandIn.Show"});
  }

  void expectItHasQuit() {
    EXPECT_EQ(home().awaitEnd(), 0);
    EXPECT_TRUE(bus().hears("VantrelQuilloHasQuit", "('VantrelQuillo',)"));
  }
};

TEST_F(AgentWithoutEngine, SaysSoInAWindowAndInTheMenu) {
  startAlone();
  session().keepPicture("no-engine");
  EXPECT_TRUE(itemBecomes("_Start Watching", false));
  EXPECT_TRUE(itemBecomes("_Quit Vantrel Quillo", true));
}

TEST_F(AgentWithoutEngine, StaysWhenTheWindowIsClosed) {
  startAlone();
  clickButton(title, closeButtonAlone);
  EXPECT_TRUE(showsWindows(0, title));
  EXPECT_TRUE(itemBecomes("_Quit Vantrel Quillo", true));
}

TEST_F(AgentWithoutEngine, WaitsForTheMainApplicationAndThenOpensItsPreferencesAndQuits) {
  makeActivatable();
  startIt();
  clickButton(title, prefsButton);
  ASSERT_TRUE(bus().hears("NameOwnerChanged", "'org.vantrel.Vantrel'"));
  // It has no window yet: the menu answers and nothing is posted.
  EXPECT_TRUE(itemBecomes("_Quit Vantrel Quillo", true));
  EXPECT_EQ(bus().count("VantrelShouldOpenPrefs"), 0);
  letTheMainApplicationShowItself();
  EXPECT_TRUE(bus().hears("VantrelShouldOpenPrefs", "('VantrelQuillo',)"));
  expectItHasQuit();
}

TEST_F(AgentWithoutEngine, OpensTheSettingsOfTheMainApplication) {
  makeActivatable(QUILLO_BINARY_DIR "/vantrel --service");
  startIt();
  clickButton(title, prefsButton);
  EXPECT_TRUE(showsWindows(1, "Settings – Vantrel"));
  session().keepPicture("settings-asked-for-by-the-agent");
  expectItHasQuit();
}

TEST_F(AgentWithoutEngine, StartsTheMainApplicationByItsDesktopFileToo) {
  makeDesktopFile();
  startIt();
  clickButton(title, prefsButton);
  EXPECT_TRUE(showsWindows(1, "Vantrel"));
  EXPECT_TRUE(bus().hears("VantrelShouldOpenPrefs", "('VantrelQuillo',)"));
  expectItHasQuit();
}

TEST_F(AgentWithoutEngine, StartsTheMainApplicationAloneAndQuits) {
  makeActivatable();
  startIt();
  clickButton(title, vantrelButton);
  EXPECT_TRUE(bus().hears("Activate"));
  expectItHasQuit();
  EXPECT_EQ(bus().count("VantrelShouldOpenPrefs"), 0);
}

TEST_F(AgentWithoutEngine, StartsTheMainApplicationByItsDesktopFileWhenItsServiceIsBroken) {
  makeActivatable("/bin/false");
  makeDesktopFile();
  startIt();
  clickButton(title, vantrelButton);
  EXPECT_TRUE(showsWindows(1, "Vantrel"));
  expectItHasQuit();
}

TEST_F(AgentWithoutEngine, WritesFirstPreferencesOpensThemAndStays) {
  const std::string settings = home().home() + "/.settings";
  const std::string file = settings + "/vantrel/org.vantrel.Vantrel.toml";
  addVariable("XDG_CONFIG_HOME=" + settings);
  makeEditor(settings);
  startAlone();
  session().keepPicture("no-preferences");
  clickButton(title, prefsButton);
  EXPECT_TRUE(showsWindows(1, "Vantrel"));
  EXPECT_NE(readFile(file).find("pathName = \"~/Downloads\""), std::string::npos);
  EXPECT_TRUE(home().isRunning());
  EXPECT_EQ(bus().count("VantrelShouldOpenPrefs"), 0);
}

TEST_F(AgentWithoutEngine, WatchesOnceWhatWasMissingIsThereAndItIsStartedAgain) {
  startAlone();
  home().writePreferences("PathToClamav = \"" + home().tree() + "\"\nPathToUpdateLog = \"" +
                          home().home() +
                          "/update.log\"\nQuilloLogProgress = true\n[[QuilloFolderArray]]\n"
                          "pathName = \"~/Downloads\"\nWatchSubdirs = true\n");
  EXPECT_EQ(home().runSecondAgent(), 0);
  EXPECT_TRUE(showsWindows(0, title));
  home().awaitWatching();
  EXPECT_TRUE(showsIcon(Icon::watching));
}

}  // namespace
}  // namespace quillo::tests
