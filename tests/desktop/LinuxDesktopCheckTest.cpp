#include <gtest/gtest.h>

#include "platform/linux/services/Environment.h"
#include "platform/linux/session/LinuxDesktopCheck.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Autostart = DesktopFacts::Autostart;

class LinuxDesktopCheckTest : public testing::Test {
 protected:
  DesktopFacts look() {
    const Environment environment({{"XDG_CONFIG_HOME", home.at("config")},
                                   {"XDG_CONFIG_DIRS", "relative:" + home.at("machine")}});
    return LinuxDesktopCheck(QDBusConnection("there is no such connection"), environment,
                             home.path())
        .look();
  }
  std::string entryIn(const std::string& folder, const std::string& lines) {
    return home.write(folder + "/autostart/org.vantrel.VantrelQuillo.desktop", lines);
  }

  TemporaryFolder home;
};

TEST_F(LinuxDesktopCheckTest, CannotTellWhatABusWouldSayWithoutOne) {
  const DesktopFacts facts = look();
  EXPECT_FALSE(facts.hasBus);
  EXPECT_FALSE(facts.showsStatusItems);
  EXPECT_FALSE(facts.showsNotifications);
}

TEST_F(LinuxDesktopCheckTest, FindsThatNothingStartsTheAgentAtLogIn) {
  EXPECT_EQ(look().autostart, Autostart::missing);
}

TEST_F(LinuxDesktopCheckTest, FindsTheEntryOfTheMachine) {
  const std::string entry = entryIn("machine", "[Desktop Entry]\nName=x\nHidden=false\n");
  EXPECT_EQ(look().autostart, Autostart::on);
  EXPECT_EQ(look().autostartEntry, entry);
}

TEST_F(LinuxDesktopCheckTest, GoesByTheUsersEntryBeforeTheMachines) {
  entryIn("machine", "[Desktop Entry]\nName=x\n");
  const std::string entry = entryIn("config", "[Desktop Entry]\nHidden = true\n");
  EXPECT_EQ(look().autostart, Autostart::off);
  EXPECT_EQ(look().autostartEntry, entry);
}

TEST_F(LinuxDesktopCheckTest, KnowsHowGnomeSwitchesAnEntryOff) {
  entryIn("config", "[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n");
  EXPECT_EQ(look().autostart, Autostart::off);
}

TEST_F(LinuxDesktopCheckTest, PassesOverOtherGroups) {
  entryIn("config", "[Desktop Entry]\nName=x\n[Desktop Action y]\nHidden=true\n");
  EXPECT_EQ(look().autostart, Autostart::on);
}

TEST_F(LinuxDesktopCheckTest, CannotTellOfAnEntryThatIsNoFile) {
  home.makeFolder("config/autostart/org.vantrel.VantrelQuillo.desktop");
  EXPECT_EQ(look().autostart, Autostart::unknown);
}

}  // namespace
}  // namespace quillo
