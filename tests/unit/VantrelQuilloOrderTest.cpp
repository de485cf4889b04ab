// In which order the agent does what several of its neighbours see.

#include <gtest/gtest.h>

#include "tests/fakes/agent/AgentUnderTest.h"
#include "tests/fakes/engine/FakeClamd.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class AgentOrder : public testing::Test, protected AgentUnderTest {
 protected:
  AgentOrder() {
    desktop.preferenceStore.set("QuilloFolderArray",
                                PreferenceValue{PreferenceArray{watchedFolder("~", true)}});
  }
  void TearDown() override { output.restore(); }
  // Does `look` when the thread of that name is started.
  void whenStarted(const std::string& thread, std::function<void()> look) {
    threads.onStart = [thread, look = std::move(look)](const std::string& name) {
      if (name == thread) {
        look();
      }
    };
  }
  void launch() { agent().applicationDidFinishLaunching(); }
};

TEST_F(AgentOrder, WorkersAreThereBeforeTheNotificationsAreRegistered) {
  bool registered = true;
  whenStarted("secondPatientScanner", [&] { registered = desktop.growl.registration.has_value(); });
  launch();
  EXPECT_FALSE(registered);
  EXPECT_TRUE(desktop.growl.registration.has_value());
}

TEST_F(AgentOrder, FoldersAreListedBeforeTheirWatcherStarts) {
  Lines listed;
  bool observed = false;
  whenStarted("FSEventWatcher", [&] {
    listed = *agent().getWatchedFolderList();
    observed = static_cast<bool>(desktop.mountNotifications.observer);
  });
  launch();
  EXPECT_EQ(listed, Lines{home.path() + "/"});
  EXPECT_TRUE(observed);
}

TEST_F(AgentOrder, TheWatcherStartsBeforeTheDefinitionsAreUpdated) {
  desktop.preferenceStore.set("UpdateDefsOnLaunch", true);
  launch();
  const Lines started = threads.names();
  ASSERT_EQ(started.size(), 8U);
  EXPECT_EQ(started[5], "FSEventWatcher");
  EXPECT_EQ(started[6], "definitions");
}

TEST_F(AgentOrder, QuitIsReportedToOthersWhenAllButTheEndIsDone) {
  launch();
  FakeClamd clamd(socketPath());
  agent().parts().daemonStart.weLaunchedClamd = true;
  bool daemonWasAsked = false;
  bool listened = true;
  bool ended = true;
  desktop.distributedNotificationCenter.onPost = [&] {
    daemonWasAsked = log().has("trying to quit clamd") && clamd.visits(1).size() == 1;
    listened = !desktop.distributedNotificationCenter.observers.empty();
    ended = !desktop.application.exits.empty();
  };
  agent().quit();
  EXPECT_TRUE(daemonWasAsked);
  EXPECT_FALSE(listened);
  EXPECT_FALSE(ended);
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
}

}  // namespace
}  // namespace quillo
