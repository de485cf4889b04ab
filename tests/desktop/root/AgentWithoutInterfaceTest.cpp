// What is reported where nothing can be shown.

#include <sys/mount.h>

#include <QDir>
#include <QLibraryInfo>

#include "tests/desktop/root/AgentOnSway.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

constexpr const char* beginning = "Neither icon nor windows can be shown: ";

class AgentWithoutInterface : public AgentOnSway {
 protected:
  void SetUp() override {
    logIn();
    notifications_ = std::make_unique<NotificationServer>(session());
  }

  // In this test's own view of the machine.
  static void removePluginsForWayland() {
    const QDir folder(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
    for (const QString& name : folder.entryList({"libqwayland-*.so"})) {
      const std::string path = folder.filePath(name).toStdString();
      check(mount("/dev/null", path.c_str(), nullptr, MS_BIND, nullptr), "covering " + path);
    }
  }

  bool reports(const std::string& reason) {
    return home().logHas(beginning + reason) && bus().hears("Notify", beginning);
  }

  std::unique_ptr<NotificationServer> notifications_;
};

TEST_F(AgentWithoutInterface, ReportsWhichPackageIsMissing) {
  removePluginsForWayland();
  startAndAwaitWatching();
  EXPECT_TRUE(reports("Qt's plug-in for Wayland is missing (in Debian's package qt6-wayland)"));
  EXPECT_TRUE(bus().hears("Notify", "qt6-wayland"));
}

TEST_F(AgentWithoutInterface, ReportsThatTheDisplayDoesNotAnswer) {
  addVariable("WAYLAND_DISPLAY=wayland-77");
  startAndAwaitWatching();
  EXPECT_TRUE(reports("the display \"wayland-77\" does not answer"));
}

TEST_F(AgentWithoutInterface, ReportsThatThereIsNoDisplay) {
  addVariable("WAYLAND_DISPLAY=");
  startAndAwaitWatching();
  EXPECT_TRUE(reports("this session has no display"));
}

TEST_F(AgentWithoutInterface, ReportsNothingWhereThereIsOne) {
  startAndAwaitWatching();
  EXPECT_EQ(home().linesWith(beginning), 0);
}

}  // namespace
}  // namespace quillo::tests
