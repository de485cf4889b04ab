// Controls that are there only beside an agent or a disk that no test of the program has.

#include <QComboBox>
#include <QLabel>
#include <QPushButton>

#include "companion/scan/ScanPage.h"
#include "companion/settings/SettingsPage.h"
#include "tests/desktop/support/pages/WindowUnderTest.h"
#include "tests/fakes/companion/ManualScanBench.h"
#include "tests/fakes/desktop/PreferencePagesFixture.h"

namespace quillo {
namespace {

using Posted = std::vector<std::pair<std::string, std::string>>;

class NoFinds final : public AllowedFinds {
 public:
  bool isAllowed(const Verdict&) override { return false; }
  std::string allow(const Verdict&, const std::optional<FileIdentity>&) override { return ""; }
};

void pressSpace(QWidget* widget) { WindowUnderTest::press(widget, Qt::Key_Space, {}, " "); }

// Without an engine, and with two disks.
class ScanInWindow : public testing::Test {
 protected:
  ScanInWindow() {
    bench.desktop.application.keepsPosted = true;
    page.offerToWatch([this] { ++timesWatched; });
    shown.window.show("scan");
    QCoreApplication::processEvents();
  }
  ~ScanInWindow() override { bench.threads.join(); }
  void scanTheDisk() {
    pressSpace(shown.find<QPushButton>("scanVolume"));
    bench.threads.join();
    bench.desktop.application.performPosted();
    QCoreApplication::processEvents();
  }

  ManualScanBench bench;
  TemporaryFolder disks;
  FakeAgentLink agent;
  FakeVolumeChanges changes;
  NoFinds finds;
  int timesWatched = 0;
  ProgramsWindow shown;
  ScanPage page{
      shown.window,
      {bench.services(), agent,
       [this] {
         return std::vector<std::string>{disks.makeFolder("one"), disks.makeFolder("two")};
       },
       changes, finds, [](const std::vector<std::string>&) {}, &bench.history}};
};

TEST_F(ScanInWindow, ScansTheChosenDisk) {
  auto* volumes = shown.find<QComboBox>("volumes");
  ASSERT_TRUE(volumes->isVisible());
  WindowUnderTest::press(volumes, Qt::Key_Down);
  EXPECT_EQ(volumes->currentIndex(), 1);
  EXPECT_FALSE(shown.find<QLabel>("report")->isVisible());
  scanTheDisk();
  EXPECT_EQ(bench.history.calls().size(), 2U);
  EXPECT_TRUE(shown.find<QLabel>("report")->isVisible());
}

TEST_F(ScanInWindow, HasAnAgentWatchThatDoesNot) {
  AgentStatus stopped;
  stopped.state = "stopped";
  agent.become(stopped);
  scanTheDisk();
  auto* button = shown.find<QPushButton>("startWatching");
  ASSERT_TRUE(button->isVisible());
  pressSpace(button);
  EXPECT_EQ(timesWatched, 1);
}

class SettingsInWindow : public PreferencePagesFixture {
 protected:
  ProgramsWindow shown;
  FakeWorkspace workspace;
  SettingsPage page{
      shown.window.page("settings"), shown.window,
      SettingsPage::Services{changes, preferences, agent, center, folders, strings, workspace, 8}};
};

TEST_F(SettingsInWindow, StartTheAgentAnew) {
  shown.window.show("settings");
  pressSpace(shown.find<QWidget>("updateDefsOnLaunch"));
  pressSpace(shown.find<QWidget>("undo"));
  QCoreApplication::processEvents();
  auto* button = shown.find<QPushButton>("startAnew");
  ASSERT_TRUE(button->isVisible());
  center.posted.clear();
  pressSpace(button);
  EXPECT_EQ(center.posted, (Posted{{"VantrelQuilloShouldQuit", "Vantrel"}}));
  EXPECT_FALSE(button->isVisible());
}

}  // namespace
}  // namespace quillo
