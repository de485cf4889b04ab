// "ShowDockIcon": a window in the task bar.

#include <filesystem>

#include "tests/desktop/root/AgentOnDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

constexpr const char* dockTitle = "Vantrel Quillo";

class AgentDock : public AgentOnDesktop {
 protected:
  // In the agent's own file: the icon is made before the main application's is read.
  void begin(const std::string& preference) {
    logIn();
    writeFile(home().home() + "/.config/vantrel/org.vantrel.VantrelQuillo.toml", preference);
    session().startPanel();
    startAndAwaitWatching();
  }
};

TEST_F(AgentDock, OfTrueIsAWindowInPlaceOfTheIcon) {
  begin("ShowDockIcon = \"True\"\n");
  ASSERT_TRUE(showsWindows(1, dockTitle));
  ASSERT_TRUE(home().logHas(home().guarded("sentinel") + ": OK"));
  EXPECT_EQ(statusItem(), "");
  home().saveInfected("bad.com");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  clickButton(warningTitle, 1);
  ASSERT_TRUE(showsWindows(0, warningTitle));
  session().keepPicture("dock");
}

TEST_F(AgentDock, OfBothIsAWindowBesideTheIcon) {
  begin("ShowDockIcon = \"both\"\n");
  EXPECT_TRUE(showsWindows(1, dockTitle));
  EXPECT_TRUE(showsIcon(Icon::watching));
}

TEST_F(AgentDock, OfAnythingElseIsNone) {
  begin("ShowDockIcon = \"yes\"\n");
  EXPECT_TRUE(showsIcon(Icon::watching));
  EXPECT_EQ(session().screen().countWindows(dockTitle), 0U);
}

class AgentWithoutTray : public AgentOnDesktop {
 protected:
  AgentWithoutTray() { logIn(); }
  bool reports() { return bus().hears("Notify", "This desktop has no place for the icon"); }
};

TEST_F(AgentWithoutTray, SaysOnceHowItIsToBeReached) {
  const NotificationServer server(session());
  startAndAwaitWatching();
  ASSERT_TRUE(reports());
  EXPECT_EQ(session().screen().countWindows(dockTitle), 0U);
  EXPECT_TRUE(std::filesystem::exists(home().home() + "/.local/state/vantrel/told-no-tray-"));
}

TEST_F(AgentWithoutTray, ShowsItsWindowWhereThereAreNoNotificationsEither) {
  startAndAwaitWatching();
  EXPECT_TRUE(showsWindows(1, dockTitle));
}

TEST_F(AgentWithoutTray, ShowsItsWindowWhenItIsStartedAgainAndStaysWhenThatIsClosed) {
  const NotificationServer server(session());
  startAndAwaitWatching();
  ASSERT_TRUE(home().logHas(home().guarded("sentinel") + ": OK"));
  EXPECT_EQ(home().runSecondAgent(), 0);
  ASSERT_TRUE(showsWindows(1, dockTitle));
  session().keepPicture("no-tray-second-start");
  focus(dockTitle);
  session().press("alt+F4");
  EXPECT_TRUE(showsWindows(0, dockTitle));
  EXPECT_TRUE(home().isRunning());
  EXPECT_EQ(home().runSecondAgent(), 0);
  EXPECT_TRUE(showsWindows(1, dockTitle));
}

}  // namespace
}  // namespace quillo::tests
