// A find in the user's hand: the buttons of its notification, the trash, and what is put back.

#include <filesystem>
#include <fstream>

#include "tests/desktop/root/AgentOnDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

constexpr const char* found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";
constexpr const char* spared = ": not warned of again: it was put back and has not changed";

class AgentFind : public AgentOnDesktop {
 protected:
  void logInWithServer(const std::string& preferences = "") {
    logIn(preferences);
    // Whoever asks for the menu of a notification's buttons gets the one that is wanted.
    writeFile(chooser, "#!/bin/sh\ngrep \"$(cat " + choice + ")\" | head -1\n");
    fs::permissions(chooser, fs::perms(0755));
    const std::string folder = home().home() + "/.config/dunst";
    fs::create_directories(folder);
    writeFile(folder + "/dunstrc", "[global]\ndmenu = " + chooser + "\nfont = Sans 10\n");
    session().startPanel();
    session().startNotificationServer();
    ASSERT_TRUE(bus().hears("NameOwnerChanged", "org.freedesktop.Notifications"));
    startAndAwaitWatching();
  }
  // Presses the button of that title on the notification that is shown first.
  void pressButton(const std::string& title) {
    writeFile(choice, title);
    outputOf({"dunstctl", "context"});
  }
  bool shows(int notifications) {
    return session().screen().eventually([&] { return notificationsShown() == notifications; });
  }
  std::string trashed(const std::string& name) {
    return home().home() + "/.local/share/Trash/files/" + name;
  }
  // As a file manager does it.
  void restore(const std::string& path) {
    const std::string name = fs::path(path).filename();
    fs::rename(trashed(name), path);
    fs::remove(home().home() + "/.local/share/Trash/info/" + name + ".trashinfo");
  }

  const std::string chooser = "/tmp/choose-button";
  const std::string choice = "/tmp/chosen-button";
};

TEST_F(AgentFind, GoesToTheTrashByTheButtonOfItsNotification) {
  logInWithServer();
  const std::string path = home().saveInfected("invoice.pdf.com");
  ASSERT_TRUE(bus().hears("Notify", "'Malware found: invoice.pdf.com'"));
  ASSERT_TRUE(showsWindows(1, warningTitle));
  // That of the missing definitions and this one.
  ASSERT_TRUE(shows(2));
  session().keepPicture("notification-of-a-find");
  pressButton("Move to Trash");
  EXPECT_TRUE(home().logHas(path + ": moved to the Trash by the user"));
  EXPECT_TRUE(fs::exists(trashed("invoice.pdf.com")));
  EXPECT_FALSE(fs::exists(path));
  EXPECT_TRUE(showsWindows(0, warningTitle));
  EXPECT_TRUE(shows(1));
}

TEST_F(AgentFind, IsNoLongerReportedWhenSomebodyElseMovedItsFile) {
  logInWithServer();
  const std::string path = home().saveInfected("bad.com");
  ASSERT_TRUE(bus().hears("Notify", path));
  ASSERT_TRUE(shows(2));
  fs::rename(path, home().home() + "/elsewhere.com");
  EXPECT_TRUE(shows(1));
}

TEST_F(AgentFind, IsNotWarnedOfAgainWhenItIsPutBackUntilItChanges) {
  logInWithServer();
  const std::string path = home().saveInfected("bad.com");
  ASSERT_TRUE(bus().hears("Notify", path));
  ASSERT_TRUE(showsWindows(1, warningTitle));
  ASSERT_TRUE(shows(2));
  pressButton("Move to Trash");
  ASSERT_TRUE(home().logHas(path + ": moved to the Trash by the user"));
  restore(path);
  EXPECT_TRUE(home().logHas(path + spared));
  EXPECT_TRUE(home().logHas(path + found, 2));
  EXPECT_EQ(bus().count("Notify", path), 1);
  // The same file with another end, which the test file may have.
  std::ofstream(path, std::ios::app) << "\n";
  EXPECT_TRUE(bus().hears("Notify", path, 2));
  EXPECT_TRUE(showsWindows(1, warningTitle));
  EXPECT_EQ(home().linesWith(spared), 1);
}

TEST_F(AgentFind, StaysKnownToTheNextAgent) {
  logInWithServer();
  const std::string path = home().saveInfected("bad.com");
  ASSERT_TRUE(bus().hears("Notify", path));
  ASSERT_TRUE(shows(2));
  pressButton("Move to Trash");
  ASSERT_TRUE(home().logHas(path + ": moved to the Trash by the user"));
  home().stop();
  start();
  home().awaitWatching("sentinel-of-the-next");
  restore(path);
  EXPECT_TRUE(home().logHas(path + spared));
  EXPECT_EQ(bus().count("Notify", path), 1);
}

TEST_F(AgentFind, ThatWasPutBackOutOfTheQuarantineStays) {
  const std::string quarantine = "/home/ada/Quarantine";
  logInWithServer("QuilloQuarantineFiles = true\nQuarantineFolder = \"" + quarantine + "\"\n");
  const std::string path = home().saveInfected("bad.com");
  ASSERT_TRUE(bus().hears("Notify", "'Malware moved to quarantine: bad.com'"));
  fs::rename(quarantine + "/bad.com", path);
  EXPECT_TRUE(home().logHas(path + spared));
  EXPECT_TRUE(home().logHas(path + ": not moved: it was put back"));
  EXPECT_TRUE(fs::exists(path));
  EXPECT_EQ(bus().count("Notify", path), 1);
  std::ofstream(path, std::ios::app) << "\n";
  EXPECT_TRUE(home().logHas(path + ": moved to '"));
  EXPECT_TRUE(bus().hears("Notify", path, 2));
}

}  // namespace
}  // namespace quillo::tests
