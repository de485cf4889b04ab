// Notifications of a real server, of none, and of very many infected files.

#include <filesystem>

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

constexpr const char* found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

class AgentNotification : public AgentOnDesktop {
 protected:
  void SetUp() override { logIn(); }
};

TEST_F(AgentNotification, IsShownByTheNotificationServer) {
  session().startPanel();
  session().startNotificationServer();
  ASSERT_TRUE(bus().hears("NameOwnerChanged", "org.freedesktop.Notifications"));
  startAndAwaitWatching();
  const std::string path = home().saveInfected("invoice.pdf.com");
  ASSERT_TRUE(showsWindows(1, warningTitle));
  ASSERT_TRUE(bus().hears("Notify", path));
  // That of the missing definitions and this one.
  EXPECT_TRUE(session().screen().eventually([&] { return notificationsShown() == 2; }));
  EXPECT_EQ(buttonsOf(warningTitle), 3U);
  session().keepPicture("agent-warning");
}

TEST_F(AgentNotification, IsNotWaitedForWithoutAServer) {
  session().startPanel();
  startAndAwaitWatching();
  const std::string path = home().saveInfected("bad.com");
  EXPECT_TRUE(home().logHas(path + found));
  EXPECT_TRUE(showsWindows(1, warningTitle));
  EXPECT_TRUE(itemBecomes("S_top Watching", true));
  EXPECT_EQ(bus().count("Notify"), 0);
}

TEST_F(AgentNotification, GoesToAServerThatCameLater) {
  startAndAwaitWatching();
  ASSERT_TRUE(home().logHas(home().saveInfected("before.com") + found));
  const NotificationServer server(session());
  ASSERT_TRUE(bus().hears("NameOwnerChanged", "org.freedesktop.Notifications"));
  const std::string after = home().saveInfected("after.com");
  EXPECT_TRUE(bus().hears("Notify", after));
}

TEST_F(AgentNotification, OfPreferencesThatAreNoFileIsWhollyInTheLanguageOfTheUser) {
  const std::string path = home().home() + "/.config/vantrel/org.vantrel.VantrelQuillo.toml";
  std::filesystem::create_directory(path);
  const NotificationServer server(session());
  ASSERT_TRUE(bus().hears("NameOwnerChanged", "org.freedesktop.Notifications"));
  addVariable("LC_ALL=de_DE.UTF-8");
  start();
  EXPECT_TRUE(bus().hears("Notify",
                          "Die Einstellungen konnten nicht gelesen werden; die zuletzt gelesenen "
                          "gelten weiter. " +
                              path + " ist keine gewöhnliche Datei"));
}

TEST_F(AgentNotification, OfAThousandInfectedFilesAreFewAndTheDesktopAnswers) {
  constexpr int thousand = 1000;
  session().startPanel();
  const NotificationServer server(session());
  startAndAwaitWatching();
  for (int i = 0; i < thousand; ++i) {
    home().saveInfected("bad" + std::to_string(i) + ".com");
  }
  ASSERT_TRUE(home().logHas("FOUND", 1));
  EXPECT_FALSE(session().bus().menuLayout(statusItem()).empty());
  ASSERT_TRUE(home().logHas("FOUND", thousand));
  ASSERT_TRUE(showsWindows(3, warningTitle));
  EXPECT_TRUE(itemBecomes("S_top Watching", true));
  session().keepPicture("thousand-warnings");
  EXPECT_LE(bus().count("Notify", "Threat: Eicar-Test-Signature"), 10);
  clickButton(warningTitle, 1, "ctrl");
  EXPECT_TRUE(showsWindows(0, warningTitle));
}

}  // namespace
}  // namespace quillo::tests
