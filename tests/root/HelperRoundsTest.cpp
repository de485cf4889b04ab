// The agent's core with the real helper, again and again.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/fakes/agent/AgentUnderTest.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Holdings.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

constexpr int rounds = isSanitized ? 20 : 100;
constexpr int roundsTogether = 10;

class HelperRounds : public testing::Test, protected AgentUnderTest {
 protected:
  HelperRounds() {
    const std::string helper = desktop.folders.resources + "/gfslogger";
    std::filesystem::copy_file(QUILLO_BINARY_DIR "/resources/gfslogger", helper);
    check(chmod(helper.c_str(), 0755), "chmod " + helper);
    guarded = home.makeFolder("Downloads");
    desktop.preferenceStore.set("QuilloFolderArray",
                                PreferenceValue{PreferenceArray{watchedFolder(guarded, true)}});
    desktop.preferenceStore.set("QuilloLogProgress", true);
    threads.real = {"FSEventWatcher", "CatchUp"};
  }
  void TearDown() override {
    agent().stopWatcher();
    threads.join();
    output.restore();
    if (HasFailure()) {
      for (const std::string& line : log().lines()) {
        std::printf("%s\n", line.c_str());
      }
    }
  }
  // A file that is saved before the helper watches goes unnoticed, and so does what this process
  // saves itself: the helper takes it for the agent.
  void awaitWatching() {
    const std::string file = guarded + "/file";
    log().clear();
    bool isNoticed = false;
    awaitThat([&] {
      runProgram({"sh", "-c", "echo text > '" + file + "'"});
      isNoticed = log().lines.waitUntil(
          [&](const auto& lines) {
            return std::find(lines.begin(), lines.end(), "Noticed: " + file) != lines.end();
          },
          std::chrono::milliseconds(20));
      return isNoticed;
    });
    ASSERT_TRUE(isNoticed);
  }
  void runRound(int number) {
    switch (number % 3) {
      case 0:
        agent().stopWatcher();
        agent().startWatcher();
        break;
      case 1:
        desktop.powerNotifications.willSleep();
        desktop.powerNotifications.didWake();
        break;
      default:
        desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldRestart");
    }
    awaitWatching();
  }
  void runRounds(int count) {
    for (int number = 0; number < count && !HasFatalFailure(); ++number) {
      if (number % roundsTogether == 0) {
        agent().startWatcher();
      }
      runRound(number);
      if (number % roundsTogether == roundsTogether - 1) {
        agent().stopWatcher();
        threads.join();
        agent().theDispatcher().cycle();
        agent().abortScans();
        forgetWhatFakesKeep();
      }
    }
  }

  std::string guarded;
};

TEST_F(HelperRounds, LeaveNoThreadNoDescriptorAndNoProcessBehind) {
  agent().applicationDidFinishLaunching();
  agent().stopWatcher();
  threads.join();
  runRounds(2 * roundsTogether);
  const Holdings before;
  runRounds(rounds);
  const Holdings after;
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

}  // namespace
}  // namespace quillo::tests
