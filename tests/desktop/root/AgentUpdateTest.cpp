// The interface of an update of the definitions, from the click in the menu to its result.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "posix/UniqueFd.h"
#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

// Its place in the menu, from the top.
constexpr std::size_t updateItem = 5;
constexpr const char* resultTitle = "Update of the Virus Definitions";

class AgentUpdate : public AgentOnDesktop {
 protected:
  void SetUp() override {
    logIn();
    makeSlowUpdater();
    session().startPanel();
    startAndAwaitWatching();
    ASSERT_TRUE(showsIcon(Icon::watching));
  }

  // Stands in for freshclam(1): runs until it is given what to exit with.
  void makeSlowUpdater() {
    const std::string gate = home().home() + "/gate";
    ASSERT_EQ(mkfifo(gate.c_str(), 0666), 0);
    ASSERT_EQ(chmod(gate.c_str(), 0666), 0);
    gate_.reset(open(gate.c_str(), O_RDWR | O_CLOEXEC));
    const std::string updater = home().tree() + "/bin/freshclam";
    std::filesystem::remove(updater);
    home().save(updater, "#!/bin/sh\nread -r status <" + gate + "\nexit \"$status\"\n");
    ASSERT_EQ(chmod(updater.c_str(), 0755), 0);
  }
  void endUpdate(char status) {
    const char line[] = {status, '\n'};
    ASSERT_EQ(write(gate_.get(), line, sizeof line), static_cast<ssize_t>(sizeof line));
  }

  bool toolTipBecomes(const std::string& words) {
    return session().screen().eventually([&] {
      return session().bus().property(statusItem(), "ToolTip").find(words) != std::string::npos;
    });
  }
  // Whether the panel shows a tool tip while the pointer rests on the icon.
  bool showsToolTip(const QRect& icon) {
    session().pointTo(icon.center().x(), icon.center().y());
    return session().screen().eventually(
        [this] { return session().screen().menuAreas().size() == 1; });
  }

  UniqueFd gate_;
};

TEST_F(AgentUpdate, IsShownByTheIconAndItsToolTip) {
  const QRect icon = iconArea();
  chooseItem(openMenu(), updateItem);
  EXPECT_TRUE(showsIcon(Icon::scanning));
  EXPECT_TRUE(toolTipBecomes("Updating definitions"));
  EXPECT_TRUE(showsToolTip(icon));
  session().keepPicture("updating");
  endUpdate('0');
  EXPECT_TRUE(showsIcon(Icon::watching));
  EXPECT_TRUE(toolTipBecomes("Watching 1 folder"));
}

TEST_F(AgentUpdate, EndsInAWindowWithoutANotificationService) {
  chooseItem(openMenu(), updateItem);
  ASSERT_TRUE(showsIcon(Icon::scanning));
  EXPECT_EQ(session().screen().countWindows(resultTitle), 0U);
  endUpdate('0');
  ASSERT_TRUE(showsWindows(1, resultTitle));
  ASSERT_TRUE(showsIcon(Icon::watching));
  session().keepPicture("update-result");
  // Not at once: a new window answers nothing yet.
  EXPECT_TRUE(session().screen().eventually([&] {
    session().press("Escape");
    return session().screen().countWindows(resultTitle) == 0;
  }));
}

TEST_F(AgentUpdate, ThatFailsSaysSoInAWindowWithoutANotificationService) {
  chooseItem(openMenu(), updateItem);
  ASSERT_TRUE(showsIcon(Icon::scanning));
  endUpdate('9');
  ASSERT_TRUE(showsWindows(1, resultTitle));
  session().keepPicture("update-failed");
}

TEST_F(AgentUpdate, EndsInANotificationWhereThereIsAService) {
  const NotificationServer server(session());
  ASSERT_TRUE(bus().hears("NameOwnerChanged", "org.freedesktop.Notifications"));
  chooseItem(openMenu(), updateItem);
  ASSERT_TRUE(showsIcon(Icon::scanning));
  endUpdate('0');
  EXPECT_TRUE(bus().hears("Notify", "The virus definitions have been updated."));
  EXPECT_EQ(session().screen().countWindows(resultTitle), 0U);
}

}  // namespace
}  // namespace quillo::tests
