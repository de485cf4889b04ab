#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "tests/root/support/engine/MirrorServer.h"
#include "tests/root/support/engine/TreeOnMachine.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

// No server but the test's is asked: the only mirror is a closed port of this machine, and nothing
// is wanted of it.
std::string sourceAt(const std::string& url) {
  return "PrivateMirror http://127.0.0.1:1\nExcludeDatabase main\nExcludeDatabase daily\n"
         "ExcludeDatabase bytecode\nDatabaseCustomURL " +
         url + "\n";
}
std::string customSource(const std::string& file) { return sourceAt("file://" + file); }

// proc(5), /proc/locks
bool somebodyWaitsForALock() {
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    if (line.find("-> FLOCK") != std::string::npos) {
      return true;
    }
  }
  return false;
}

class TreeUpdates : public TreeOnMachine {
 protected:
  Outcome update(uid_t user, const std::string& root, bool exitOne) const {
    std::vector<std::string> arguments = {"--log=" + path(std::to_string(user)) + "/update.log"};
    if (exitOne) {
      arguments.emplace_back("--on-update-execute=EXIT_1");
    }
    return run(user, root + "/bin/freshclam", arguments);
  }
  void learnFromCustomSource(uid_t user) {
    const std::string root = path(std::to_string(user)) + "/tree";
    ASSERT_EQ(makeTree(user, {root}).status, 0);
    write(path("test-other.ndb"), otherDefinition());
    write(root + "/etc/freshclam.local", customSource(path("test-other.ndb")), user);
    ASSERT_EQ(makeTree(user, {root}).status, 0);
    ASSERT_EQ(startDaemon(user, root).status, 0);
    ASSERT_EQ(scan(user, root, otherFile()).status, 0);
    const Outcome updated = update(user, root, true);
    EXPECT_EQ(updated.status, 1) << updated.output;
    EXPECT_NE(updated.output.find("Clamd successfully notified"), std::string::npos)
        << updated.output;
    EXPECT_TRUE(awaitThat([&] { return scan(user, root, otherFile()).status == 1; },
                          std::chrono::seconds(15)))
        << "nothing was scanned for too long";
    EXPECT_EQ(scan(user, root, otherFile()).status, 1);
    EXPECT_EQ(scan(user, root, eicarFile()).status, 1);
    EXPECT_TRUE(std::filesystem::exists(path(std::to_string(user)) + "/update.log"));
  }
  void keepMachineDefinitions(std::chrono::hours age) const {
    write("/var/lib/clamav/main.cvd", "ClamAV-VDB:");
    write("/var/lib/clamav/daily.cvd", "ClamAV-VDB:");
    const auto written = std::filesystem::file_time_type::clock::now() - age;
    std::filesystem::last_write_time("/var/lib/clamav/main.cvd", written);
    std::filesystem::last_write_time("/var/lib/clamav/daily.cvd", written);
  }
};

TEST_F(TreeUpdates, ReachTheRunningDaemonOfAnOrdinaryUser) { learnFromCustomSource(ordinaryUser); }

TEST_F(TreeUpdates, ReachTheRunningDaemonOfRoot) { learnFromCustomSource(0); }

TEST_F(TreeUpdates, ThatComeTogetherAreMadeOneAfterTheOther) {
  tests::MirrorServer mirror;
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  write(root + "/etc/freshclam.local", sourceAt(mirror.url("test-other.ndb")), ordinaryUser);
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  mirror.serve(otherDefinition());
  mirror.hold();
  Outcome first;
  Outcome second;
  std::atomic<bool> secondEnded = false;
  JoinedThreads one([&] { first = update(ordinaryUser, root, true); });
  EXPECT_TRUE(mirror.awaitRequests(1));
  JoinedThreads two([&] {
    second = update(ordinaryUser, root, true);
    secondEnded = true;
  });
  EXPECT_TRUE(awaitThat([&] { return secondEnded || somebodyWaitsForALock(); }));
  mirror.release();
  one.join();
  two.join();
  EXPECT_EQ(first.status, 1) << first.output;
  EXPECT_EQ(second.status, 0) << second.output;
}

TEST_F(TreeUpdates, HandTheUpdatersStatusOn) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  write(root + "/etc/freshclam.local", customSource(path("missing.ndb")));
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  const Outcome failed = update(0, root, true);
  EXPECT_GT(failed.status, 1) << failed.output;
}

TEST_F(TreeUpdates, AreTheMachinesBusinessWhereItKeepsTheDefinitions) {
  keepMachineDefinitions(std::chrono::hours(24));
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  EXPECT_EQ(update(ordinaryUser, root, true).status, 0);
  EXPECT_EQ(update(ordinaryUser, root, false).status, 1);
}

TEST_F(TreeUpdates, FailWhenTheMachineHasNotRenewedItsDefinitionsForAWeek) {
  keepMachineDefinitions(std::chrono::hours(8 * 24));
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  const Outcome stale = update(ordinaryUser, root, true);
  EXPECT_EQ(stale.status, 10);
  EXPECT_NE(stale.output.find("older than a week"), std::string::npos) << stale.output;
}

}  // namespace
}  // namespace quillo
