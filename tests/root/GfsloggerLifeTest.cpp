#include <fcntl.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

#include "posix/UniqueFd.h"
#include "tests/root/support/helper/HelperFixture.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

using GfsloggerLife = HelperFixture;

// Whether the process ends before the deadline.
bool ends(pid_t process) {
  const UniqueFd handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
  return handle ? awaitReadable(handle.get()) : errno == ESRCH;
}

std::string only(const std::vector<std::string>& lines) {
  return lines.size() == 1 ? lines[0] : std::to_string(lines.size()) + " lines";
}

// Starts it in a way that cannot work, and expects this end of it.
void expectFailure(StandInAgent& agent, int status, const std::string& message) {
  EXPECT_TRUE(agent.errors().waitForEnd());
  EXPECT_TRUE(agent.output().waitForEnd());
  EXPECT_EQ(only(agent.errors().all()), "gfslogger: " + message);
  EXPECT_TRUE(agent.output().all().empty());
  const int ending = agent.reap().status;
  ASSERT_TRUE(WIFEXITED(ending));
  EXPECT_EQ(WEXITSTATUS(ending), status);
}

TEST_F(GfsloggerLife, EndsWithStatus1UnlessItIsSetUserIdRoot) {
  check(chmod(program().c_str(), 0755), "chmod");
  StandInAgent agent(options());
  expectFailure(agent, 1, "not set-user-ID root");
}

TEST_F(GfsloggerLife, EndsWithStatus1IfItBelongsToSomebodyElse) {
  check(chown(program().c_str(), otherUser, otherUser), "chown");
  check(chmod(program().c_str(), 04755), "chmod");
  StandInAgent agent(options());
  expectFailure(agent, 1, "not set-user-ID root");
}

TEST_F(GfsloggerLife, SaysThatNoNewPrivilegesHinderIt) {
  StandInAgent::Options how = options();
  how.noNewPrivileges = true;
  StandInAgent agent(how);
  expectFailure(agent, 1, "set-user-ID root, but the caller has no_new_privs set");
}

TEST_F(GfsloggerLife, SaysThatANosuidMountHindersIt) {
  runProgram({"cp", "--preserve=mode", program(), in("copy")});
  check(mount(nullptr, folder().c_str(), nullptr, MS_REMOUNT | MS_NOSUID, nullptr), "remount");
  StandInAgent::Options how = options();
  how.program = in("copy");
  StandInAgent agent(how);
  expectFailure(agent, 1, "set-user-ID root, but on a file system that is mounted nosuid");
}

TEST_F(GfsloggerLife, RefusesArgumentsWithStatus2) {
  StandInAgent::Options how = options();
  how.arguments = {"--help", "--version"};
  StandInAgent agent(how);
  expectFailure(agent, 2, "takes no arguments");
}

// Milliseconds from the start of a helper to its first line.
std::chrono::milliseconds timeUntilWatching(const StandInAgent::Options& options,
                                            const std::string& prefix) {
  const auto begin = std::chrono::steady_clock::now();
  StandInAgent agent(options);
  for (int number = 0; agent.output().all().empty(); ++number) {
    writeFile(prefix + std::to_string(number));
    agent.output().waitFor("any line", std::chrono::milliseconds(1));
    if (std::chrono::steady_clock::now() - begin > deadline) break;
  }
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               begin);
}

TEST_F(GfsloggerLife, WatchesWithinATenthOfASecond) {
  // The best of some tries, as the machine may be busy with other things.
  std::chrono::milliseconds best = deadline;
  for (int attempt = 0; attempt < 5 && best.count() >= 100; ++attempt) {
    best =
        std::min(best, timeUntilWatching(options(), in("file-" + std::to_string(attempt) + "-")));
  }
  std::printf("watching after %d ms\n", static_cast<int>(best.count()));
  // A sanitizer alone needs most of that time.
  EXPECT_LT(best.count(), QUILLO_SANITIZED ? 1000 : 100);
}

TEST_F(GfsloggerLife, SaysByAnEmptyLineFromWhenOnItWatches) {
  StandInAgent agent(options());
  // Beside what others on this machine write.
  ASSERT_TRUE(agent.output().waitFor(""));
  writeFile(in("right after"));
  EXPECT_TRUE(agent.output().waitFor(in("right after")));
}

TEST_F(GfsloggerLife, SaysByAnEmptyLineThatAllThatHappenedIsTold) {
  start();
  writeFile(in("one"));
  EXPECT_TRUE(
      awaitBy([&](auto) { output().waitFor(in("no other"), std::chrono::milliseconds(50)); },
              [&] {
                const auto& lines = output().all();
                const auto told = std::find(lines.begin(), lines.end(), in("one"));
                return std::find(told, lines.end(), "") != lines.end();
              }));
}

TEST_F(GfsloggerLife, EndsAtTheTerminateSignalOfTheAgent) {
  start();
  const pid_t marker = markerOf(agent().helper());
  ASSERT_TRUE(agent().signalHelper(SIGTERM));
  const int ending = agent().reap().status;
  EXPECT_TRUE(WIFSIGNALED(ending) && WTERMSIG(ending) == SIGTERM);
  EXPECT_TRUE(output().waitForEnd());
  EXPECT_TRUE(ends(marker));
}

TEST_F(GfsloggerLife, EndsAtTheTerminateSignalWhileItsReaderStandsStill) {
  start();
  const std::string name(200, 'n');
  for (int number = 0; number < 2000; ++number) writeFile(in(name + std::to_string(number)));
  // The first line is there, and nobody takes the others away.
  ASSERT_TRUE(output().waitFor(in(name + "0")));
  ASSERT_TRUE(agent().signalHelper(SIGTERM));
  EXPECT_TRUE(WIFSIGNALED(agent().reap().status));
}

TEST_F(GfsloggerLife, EndsWhenItsReaderGoesAwayThoughNothingHappens) {
  start();
  const pid_t marker = markerOf(agent().helper());
  output().reset();
  EXPECT_TRUE(ends(agent().helper()));
  EXPECT_TRUE(ends(marker));
}

TEST_F(GfsloggerLife, EndsWhenItsReaderGoesAwayWhileItWrites) {
  start();
  const std::string name(200, 'n');
  for (int number = 0; number < 2000; ++number) writeFile(in(name + std::to_string(number)));
  ASSERT_TRUE(output().waitFor(in(name + "0")));
  output().reset();
  EXPECT_TRUE(ends(agent().helper()));
}

TEST_F(GfsloggerLife, EndsWhenTheAgentDiesThoughItsOutputIsStillRead) {
  start();
  const pid_t marker = markerOf(agent().helper());
  agent().kill();
  EXPECT_TRUE(output().waitForEnd());
  EXPECT_TRUE(ends(agent().helper()));
  EXPECT_TRUE(ends(marker));
}

TEST_F(GfsloggerLife, EndsWhenTheAgentDiesWhileItsReaderStandsStill) {
  start();
  const std::string name(200, 'n');
  for (int number = 0; number < 2000; ++number) writeFile(in(name + std::to_string(number)));
  ASSERT_TRUE(output().waitFor(in(name + "0")));
  agent().kill();
  EXPECT_TRUE(ends(agent().helper()));
}

TEST_F(GfsloggerLife, EndsWithAnotherStatusThan1IfTheMarkingProcessDies) {
  start();
  check(kill(markerOf(agent().helper()), SIGKILL), "kill");
  ASSERT_TRUE(output().waitForEnd());
  const int ending = agent().reap().status;
  ASSERT_TRUE(WIFEXITED(ending));
  EXPECT_EQ(WEXITSTATUS(ending), 3);
}

TEST_F(GfsloggerLife, KeepsNothingOfTheEnvironment) {
  StandInAgent::Options how = options();
  how.environment = {"SECRET=password", "TZ=/tmp/evil", "LD_PRELOAD=/tmp/evil.so"};
  start(how);
  const std::string environment = fileOf(agent().helper(), "environ");
  EXPECT_TRUE(std::all_of(environment.begin(), environment.end(), [](char c) { return c == 0; }))
      << environment;
}

TEST_F(GfsloggerLife, KeepsNoDescriptorOfTheAgentButTheStandardOnes) {
  StandInAgent::Options how = options();
  how.inherited = 77;
  start(how);
  std::vector<std::string> targets;
  const std::string place = "/proc/" + std::to_string(agent().helper()) + "/fd";
  for (const auto& entry : std::filesystem::directory_iterator(place)) {
    EXPECT_NE(entry.path().filename(), "77");
    const int number = std::stoi(entry.path().filename());
    const std::string target = std::filesystem::read_symlink(entry.path());
    const bool isOwn = number <= 2 || target == "anon_inode:[fanotify]" ||
                       target == "anon_inode:[pidfd]" || target.rfind("pipe:", 0) == 0 ||
                       target.rfind("socket:", 0) == 0 ||
                       target.find("/mountinfo") != std::string::npos;
    EXPECT_TRUE(isOwn) << number << " is " << target;
  }
}

TEST_F(GfsloggerLife, HoldsItsOutputOpenInOneProcessOnly) {
  start();
  const std::string marker = std::to_string(markerOf(agent().helper()));
  for (const char* number : {"0", "1", "2"}) {
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + marker + "/fd/" + number), "/dev/null");
  }
}

TEST_F(GfsloggerLife, CannotBeTracedByItsCaller) {
  start();
  // Of a process that is not dumpable, /proc shows root as the owner.
  struct stat info {};
  check(stat(("/proc/" + std::to_string(agent().helper()) + "/maps").c_str(), &info), "stat");
  EXPECT_EQ(info.st_uid, 0U);
}

}  // namespace
}  // namespace quillo::tests
