// What the agent offers when there is no engine: the way to the main application.

#include <filesystem>
#include <fstream>

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

// Places of the buttons, from the left.
enum Button : std::size_t { prefsButton, vantrelButton, closeButton };

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
  startIt();
  session().keepPicture("no-engine");
  EXPECT_TRUE(itemBecomes("_Start Watching", false));
  EXPECT_TRUE(itemBecomes("_Quit Vantrel Quillo", true));
}

TEST_F(AgentWithoutEngine, StaysWhenTheWindowIsClosed) {
  startIt();
  clickButton(title, closeButton);
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

TEST_F(AgentWithoutEngine, QuitsWhenThereIsNoMainApplicationEither) {
  startIt();
  clickButton(title, prefsButton);
  expectItHasQuit();
  EXPECT_EQ(bus().count("VantrelShouldOpenPrefs"), 0);
}

}  // namespace
}  // namespace quillo::tests
