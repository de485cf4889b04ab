// The machine sleeps and wakes.

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

class AgentSleep : public AgentOnDesktop {
 protected:
  void SetUp() override {
    logIn();
    systemBus_ = session().startSystemBus();
    addVariable("DBUS_SYSTEM_BUS_ADDRESS=" + systemBus_);
    said_ = std::make_unique<BusMonitor>(systemBus_);
    logind_ =
        session().startCommand({"/usr/bin/env", "DBUS_SYSTEM_BUS_ADDRESS=" + systemBus_,
                                "/usr/bin/python3", "-m", "dbusmock", "--template", "logind"});
    ASSERT_TRUE(said_->hears("NameOwnerChanged", "org.freedesktop.login1"));
    startAndAwaitWatching();
    ASSERT_TRUE(said_->hears("Inhibit", "'sleep'"));
  }

  void prepareForSleep(bool isBefore) {
    ask("org.freedesktop.DBus.Mock.EmitSignal",
        {"string:org.freedesktop.login1.Manager", "string:PrepareForSleep", "string:b",
         std::string("array:boolean:") + (isBefore ? "true" : "false")});
  }

  // Whether the machine comes to wait for somebody before it sleeps, or for nobody.
  bool isInhibited(bool inhibited) {
    for (int tries = 0; tries < 1000; ++tries) {
      const bool now =
          ask("org.freedesktop.login1.Manager.ListInhibitors", {}).find("Vantrel Quillo") !=
          std::string::npos;
      if (now == inhibited) {
        return true;
      }
    }
    return false;
  }

  std::string ask(const std::string& method, const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"dbus-send",
                                        "--bus=" + systemBus_,
                                        "--print-reply",
                                        "--dest=org.freedesktop.login1",
                                        "/org/freedesktop/login1",
                                        method};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return outputOf(command);
  }

  std::string systemBus_;
  std::unique_ptr<BusMonitor> said_;
  std::unique_ptr<ChildProcess> logind_;
};

TEST_F(AgentSleep, StopsTheHelperAndThenLetsTheMachineSleep) {
  ASSERT_TRUE(isInhibited(true));
  prepareForSleep(true);
  EXPECT_TRUE(home().logHas("Nighty night!"));
  EXPECT_EQ(home().helper(), -1);
  EXPECT_TRUE(isInhibited(false));
}

TEST_F(AgentSleep, IsFollowedByWatchingAgain) {
  prepareForSleep(true);
  ASSERT_TRUE(home().logHas("Nighty night!"));
  prepareForSleep(false);
  ASSERT_TRUE(home().logHas("Wakey wakey!"));
  home().awaitWatching("awake");
  EXPECT_GT(home().helper(), 0);
  EXPECT_TRUE(home().logHas(home().saveInfected("bad.com") + ": Eicar"));
  EXPECT_TRUE(isInhibited(true));
}

}  // namespace
}  // namespace quillo::tests
