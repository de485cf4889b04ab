// The real agent and files that were saved while nobody watched.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

#include <string>

#include "posix/UniqueFd.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

// What is not watched, on the same file system.
void blow(const std::string& folder, int files) {
  makeFolder(folder, 0777);
  for (int number = 0; number < files; ++number) {
    UniqueFd(creat((folder + "/" + std::to_string(number)).c_str(), 0644));
  }
}

TEST(AgentCatchUp, FindsWhatIsSavedBetweenTwoHelpers) {
  GuardedHome home;
  home.startAndAwaitWatching();
  const pid_t helper = home.helper();
  ASSERT_EQ(kill(helper, SIGSTOP), 0);
  const std::string missed = home.saveInfected("deep/er/bad.com");
  ASSERT_EQ(kill(helper, SIGKILL), 0);
  EXPECT_TRUE(home.logHas(missed + found));
  EXPECT_TRUE(home.logHas("Looking for files that changed since "));
  EXPECT_TRUE(home.logHas("Missed files: "));
}

TEST(AgentCatchUp, FindsWhatIsSavedWhenTheKernelDropsEvents) {
  GuardedHome home;
  home.startAndAwaitWatching();
  const pid_t helper = home.helper();
  ASSERT_EQ(kill(helper, SIGSTOP), 0);
  blow(home.home() + "/storm",
       std::stoi(readFile("/proc/sys/fs/fanotify/max_queued_events")) + 1000);
  const std::string missed = home.saveInfected("bad.com");
  ASSERT_EQ(kill(helper, SIGCONT), 0);
  EXPECT_TRUE(home.logHas("termination status = 4"));
  EXPECT_TRUE(home.logHas(missed + found));
  EXPECT_EQ(home.linesWith("Nothing is watched"), 0);
}

TEST(AgentCatchUp, FindsAFolderThatWasMovedInBetweenTwoHelpers) {
  GuardedHome home;
  makeFolder(home.home() + "/elsewhere", 0777);
  const std::string before = home.saveInfected(home.home() + "/elsewhere/bad.com");
  home.startAndAwaitWatching();
  const pid_t helper = home.helper();
  ASSERT_EQ(kill(helper, SIGSTOP), 0);
  ASSERT_EQ(rename((home.home() + "/elsewhere").c_str(), home.guarded("moved").c_str()), 0);
  ASSERT_EQ(kill(helper, SIGKILL), 0);
  EXPECT_TRUE(home.logHas(home.guarded("moved/bad.com") + found));
}

TEST(AgentCatchUp, LooksIntoNothingThatIsNotWatchedEither) {
  GuardedHome home;
  const std::string readOnly = home.guarded("medium");
  makeFolder(readOnly, 0777);
  home.startAndAwaitWatching();
  const pid_t helper = home.helper();
  ASSERT_EQ(kill(helper, SIGSTOP), 0);
  mountTmpfs(readOnly);
  const std::string unwatched = home.saveInfected("medium/bad.com");
  check(mount(nullptr, readOnly.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), "remounting");
  const std::string missed = home.saveInfected("bad.com");
  ASSERT_EQ(kill(helper, SIGKILL), 0);
  EXPECT_TRUE(home.logHas(missed + found));
  EXPECT_TRUE(home.logHas("Missed files: "));
  EXPECT_EQ(home.linesWith(unwatched), 0);
  EXPECT_EQ(umount(readOnly.c_str()), 0);
}

TEST(AgentCatchUp, FindsWhatWasSavedWhileNoAgentRanIfItIsWanted) {
  GuardedHome home("QuilloCatchUp = true\n");
  home.startAndAwaitWatching();
  EXPECT_EQ(home.stop(), 0);
  const std::string missed = home.saveInfected("bad.com");
  home.start();
  EXPECT_TRUE(home.logHas(missed + found));
}

TEST(AgentCatchUp, LooksForNothingAtTheStartUnlessItIsWanted) {
  GuardedHome home;
  home.startAndAwaitWatching();
  EXPECT_EQ(home.stop(), 0);
  home.saveInfected("bad.com");
  home.start();
  home.awaitWatching("another");
  EXPECT_EQ(home.linesWith("Looking for files"), 0);
  EXPECT_EQ(home.linesWith("/bad.com"), 0);
}

}  // namespace
}  // namespace quillo::tests
