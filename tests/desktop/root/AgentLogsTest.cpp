// The items of the menu that open logs.

#include <sys/stat.h>

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

// Places in the menu, from the top.
enum Item : std::size_t { scanLogItem = 6, consoleLogItem, updateLogItem };

class AgentLogs : public AgentOnDesktop {
 protected:
  void SetUp() override {
    logIn();
    makeOpener();
    session().startPanel();
    startAndAwaitWatching();
    ASSERT_TRUE(showsIcon(Icon::watching));
  }

  // A program of ada's that opens every file, and reports to the bus which.
  void makeOpener() {
    const std::string program = home().save(
        home().home() + "/opener",
        "#!/bin/sh\nexec dbus-send --session /opener org.vantrel.Test.Opened string:\"$1\"\n");
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    home().save(home().home() + "/.local/share/applications/opener.desktop",
                "[Desktop Entry]\nType=Application\nName=Opener\nExec=" + program + " %f\n");
    home().save(home().home() + "/.config/mimeapps.list",
                "[Default Applications]\ntext/plain=opener.desktop\n"
                "text/x-log=opener.desktop\napplication/octet-stream=opener.desktop\n");
  }

  bool opens(const std::string& path) { return bus().hears("Opened", "('" + path + "',)"); }
  bool beeps() {
    return session().screen().eventually([this] { return session().screen().beeps() == 1; });
  }
};

TEST_F(AgentLogs, OfScansIsOpened) {
  chooseItem(openMenu(), scanLogItem);
  EXPECT_TRUE(opens("/home/ada/Library/Logs/VantrelQuillo-scan.log"));
  EXPECT_EQ(session().screen().beeps(), 0);
}

TEST_F(AgentLogs, OfTheConsoleIsNotThereAndBeeps) {
  chooseItem(openMenu(), consoleLogItem);
  EXPECT_TRUE(beeps());
  EXPECT_EQ(bus().count("Opened"), 0);
}

TEST_F(AgentLogs, OfUpdatesIsOpenedOnceThereIsOne) {
  chooseItem(openMenu(), updateLogItem);
  ASSERT_TRUE(beeps());
  EXPECT_EQ(bus().count("Opened"), 0);
  home().save(home().home() + "/update.log", "Sat Nov 21 12:00:00 2026 -> up to date\n");
  chooseItem(openMenu(), updateLogItem);
  EXPECT_TRUE(opens("/home/ada/update.log"));
}

}  // namespace
}  // namespace quillo::tests
