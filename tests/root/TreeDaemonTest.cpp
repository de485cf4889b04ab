#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>

#include "clamav/ControlSocket.h"
#include "clamav/ScanLimits.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"
#include "tests/root/support/engine/TreeOnMachine.h"
#include "tests/support/StandInProcess.h"

namespace quillo {
namespace {

struct stat statusOf(const std::string& file) {
  struct stat status = {};
  EXPECT_EQ(lstat(file.c_str(), &status), 0) << file;
  return status;
}

bool names(const Outcome& outcome, const std::string& what) {
  return outcome.output.find(what) != std::string::npos;
}

TEST_F(TreeOnMachine, DetectsTheTestFileAloneAndInAZipBeforeAnyDownload) {
  const std::string root = path("0/tree");
  const Outcome made = makeTree(0, {root});
  ASSERT_EQ(made.status, 0) << made.output;
  ASSERT_EQ(startDaemon(0, root).status, 0);
  EXPECT_TRUE(answers(socketOf(root)));
  for (const std::string& file : {eicarFile(), eicarZip()}) {
    const Outcome scanned = scan(0, root, file);
    EXPECT_EQ(scanned.status, 1);
    EXPECT_EQ(scanned.output, file + ": Eicar-Test-Signature.UNOFFICIAL FOUND\n");
  }
  EXPECT_EQ(scan(0, root, otherFile()).status, 0);
}

TEST_F(TreeOnMachine, ShowsTheRealDaemonWithItsConfigurationOnce) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  ASSERT_EQ(startDaemon(0, root).status, 0);
  ASSERT_EQ(daemons().size(), 1U);
  std::string line = read("/proc/" + std::to_string(daemons()[0]) + "/cmdline");
  std::replace(line.begin(), line.end(), '\0', ' ');
  EXPECT_EQ(line, "/usr/sbin/clamd -c " + root + "/etc/clamd.conf ");
}

TEST_F(TreeOnMachine, TakesFilesOfUpToTwoGigabytesAndStartsWithoutAWarning) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  EXPECT_EQ(startDaemon(0, root).output, "");
  // Most of them does not lie on the disk.
  const std::string large = path("0/large");
  const std::string tooLarge = path("0/too-large");
  write(large, "large");
  write(tooLarge, "large");
  std::filesystem::resize_file(large, std::uintmax_t{150} << 20U);
  std::filesystem::resize_file(tooLarge, engineCeiling + 1);
  EXPECT_EQ(scan(0, root, large).output, large + ": OK\n");
  EXPECT_EQ(scan(0, root, tooLarge).output,
            tooLarge + ": Not scanned: larger than the limit of 2 GB\n");
}

TEST_F(TreeOnMachine, StartsItsDaemonAlsoWithoutAnOption) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  EXPECT_EQ(run(0, root + "/sbin/clamd").status, 0);
  EXPECT_TRUE(answers(socketOf(root)));
}

TEST_F(TreeOnMachine, CanBeMadeAgainUnderARunningDaemon) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  ASSERT_EQ(startDaemon(0, root).status, 0);
  const std::vector<pid_t> before = daemons();
  const std::string socket = socketOf(root);
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  EXPECT_EQ(socketOf(root), socket);
  EXPECT_EQ(startDaemon(0, root).status, 0);
  EXPECT_EQ(daemons(), before);
  EXPECT_EQ(scan(0, root, eicarFile()).status, 1);
}

TEST_F(TreeOnMachine, StartsOneDaemonForTwoWhoAskAtOnce) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  std::vector<std::future<Outcome>> launches;
  for (int i = 0; i < 4; ++i) {
    launches.push_back(std::async(std::launch::async, [&] { return startDaemon(0, root); }));
  }
  for (std::future<Outcome>& launch : launches) {
    const Outcome outcome = launch.get();
    EXPECT_EQ(outcome.status, 0) << outcome.output;
  }
  EXPECT_EQ(daemons().size(), 1U);
}

// What the kernel has for them in /proc/PID/autogroup, "/autogroup-1 nice 0".
bool weighsItsSession(pid_t process, const std::string& niceness) {
  const std::string file = "/proc/" + std::to_string(process) + "/autogroup";
  const std::string said = contentsOfFile(file).value_or("");
  return !fileExists(file) || trimmed(said).ends_with("nice " + niceness);
}

TEST_F(TreeOnMachine, HasItsDaemonGiveWayToWhatTheUserWorksWith) {
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  const Outcome started = startDaemon(ordinaryUser, root);
  EXPECT_EQ(started.output, "");
  const pid_t daemon = daemons().at(0);
  int threads = 0;
  for (const auto& task :
       std::filesystem::directory_iterator("/proc/" + std::to_string(daemon) + "/task")) {
    const int thread = std::stoi(task.path().filename());
    EXPECT_GE(getpriority(PRIO_PROCESS, static_cast<id_t>(thread)), 15);
    // The least of the best-effort class (ioprio_set(2)).
    EXPECT_EQ(syscall(SYS_ioprio_get, 1, thread), 2 << 13 | 7);
    ++threads;
  }
  EXPECT_GT(threads, 0);
  EXPECT_TRUE(weighsItsSession(daemon, "15"));
}

TEST_F(TreeOnMachine, LeavesADaemonTheLittleWeightWithWhichItsUserStartedIt) {
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  const Outcome started = run(ordinaryUser, "/usr/bin/nice", {"-n", "19", root + "/sbin/clamd"});
  EXPECT_EQ(started.output, "");
  EXPECT_EQ(getpriority(PRIO_PGRP, static_cast<id_t>(daemons().at(0))), 19);
}

TEST_F(TreeOnMachine, LeavesTheWeightOfWhatItsDaemonDidNotStart) {
  const std::string root = path("everyone");
  ASSERT_EQ(makeTree(0, {"--machine", root}).status, 0);
  // The account's lie: a process of somebody else's.
  const StandInProcess another({"/usr/sbin/clamd"}, {"/bin/cat", otherUser});
  const std::string liar = path("clamd-wrapper");
  const std::string real = path("clamd-itself");
  std::filesystem::copy_file("/usr/sbin/clamd", real);
  const std::string file = std::filesystem::path(socketOf(root)).parent_path() / "clamd.pid";
  // The daemon writes its own number a moment after it has detached.
  write(liar, "#!/bin/sh\n" + real + " \"$@\" || exit\nuntil [ -s " + file +
                  " ]; do :; done\necho " + std::to_string(another.process()) + " >" + file + "\n");
  ASSERT_EQ(chmod(liar.c_str(), 0755), 0);
  ASSERT_EQ(mount(liar.c_str(), "/usr/sbin/clamd", nullptr, MS_BIND, nullptr), 0);
  const Outcome started = startDaemon(0, root);
  EXPECT_EQ(umount("/usr/sbin/clamd"), 0);
  EXPECT_EQ(started.status, 0);
  EXPECT_TRUE(names(started, "clamd does not give way to other programs: " + file))
      << started.output;
  EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(another.process())),
            getpriority(PRIO_PROCESS, 0));
}

TEST_F(TreeOnMachine, HandsTheStatusOfADaemonOnThatCannotStart) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  write(root + "/etc/clamd.local", "NoSuchOption yes\n");
  const Outcome started = startDaemon(0, root);
  EXPECT_EQ(started.status, 1);
  EXPECT_TRUE(names(started, "NoSuchOption")) << started.output;
}

// clamd's second process may tell the first that it has loaded before that one listens.
TEST_F(TreeOnMachine, TakesADaemonForStartedThatAnswersThoughItsFirstProcessFailed) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  const std::string real = path("clamd-itself");
  std::filesystem::copy_file("/usr/sbin/clamd", real);
  const std::string wrapper = path("clamd-wrapper");
  write(wrapper, "#!/bin/sh\n" + real + " \"$@\" && exit 2\n", 0);
  ASSERT_EQ(chmod(wrapper.c_str(), 0755), 0);
  ASSERT_EQ(mount(wrapper.c_str(), "/usr/sbin/clamd", nullptr, MS_BIND, nullptr), 0);
  const Outcome started = startDaemon(0, root);
  EXPECT_EQ(umount("/usr/sbin/clamd"), 0);
  EXPECT_EQ(started.status, 0) << started.output;
  EXPECT_TRUE(answers(socketOf(root)));
}

TEST_F(TreeOnMachine, ComesBackAfterTheTemporaryFolderWasEmptied) {
  const std::string root = path("0/tree");
  ASSERT_EQ(makeTree(0, {root}).status, 0);
  const std::string socket = socketOf(root);
  ASSERT_EQ(rmdir(std::filesystem::path(socket).parent_path().c_str()), 0);
  EXPECT_EQ(startDaemon(0, root).status, 0);
  EXPECT_EQ(socketOf(root), socket);
  EXPECT_TRUE(answers(socket));
}

TEST_F(TreeOnMachine, MakesTheSocketsFolderAnewAtEachStartUnderItsName) {
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  ASSERT_EQ(startDaemon(ordinaryUser, root).status, 0);
  const std::string socket = socketOf(root);
  const std::string folder = std::filesystem::path(socket).parent_path();
  write(folder + "/left-over", "", ordinaryUser);
  endDaemons();
  ASSERT_EQ(startDaemon(ordinaryUser, root).status, 0);
  EXPECT_EQ(socketOf(root), socket);
  EXPECT_TRUE(answers(socket));
  EXPECT_FALSE(std::filesystem::exists(folder + "/left-over"));
}

TEST_F(TreeOnMachine, PutsItsSocketIntoTheUsersRuntimeFolder) {
  const std::string runtime = path("run");
  std::filesystem::create_directory(runtime);
  ASSERT_EQ(chown(runtime.c_str(), ordinaryUser, ordinaryUser), 0);
  ASSERT_EQ(chmod(runtime.c_str(), 0700), 0);
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  const std::string sbin = root + "/sbin/clamd";
  EXPECT_EQ(run(ordinaryUser, "/usr/bin/env", {"XDG_RUNTIME_DIR=" + runtime, sbin}).status, 0);
  EXPECT_EQ(socketOf(root).compare(0, runtime.size() + 1, runtime + "/"), 0) << socketOf(root);
  EXPECT_TRUE(answers(socketOf(root)));
  EXPECT_EQ(scan(ordinaryUser, root, eicarFile()).status, 1);
}

TEST_F(TreeOnMachine, IsNotHeldUpByAStrangerWhoLocksItsFolders) {
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  const std::string folder = std::filesystem::path(socketOf(root)).parent_path();
  std::vector<UniqueFd> locks;
  for (const std::string& name : {root, root + "/etc", root + "/db", folder}) {
    locks.emplace_back(open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(locks.back().get(), LOCK_EX | LOCK_NB), 0) << name;
  }
  auto started =
      std::async(std::launch::async, [&, this] { return startDaemon(ordinaryUser, root).status; });
  EXPECT_EQ(started.wait_for(std::chrono::seconds(30)), std::future_status::ready);
  locks.clear();
  EXPECT_EQ(started.get(), 0);
}

// A set-user-ID program is root's at work, and bears the name that its starter gave it.
TEST_F(TreeOnMachine, IsServedByNoProcessThatAStrangerCallsTheMachinesDaemon) {
  write("/etc/clamav/clamd.conf", "LocalSocket " + path("nobody") + "\n");
  const std::string imposter = path("clamd");
  std::filesystem::copy_file("/bin/cat", imposter);
  ASSERT_EQ(chmod(imposter.c_str(), 04755), 0);
  const StandInProcess process({"/usr/sbin/clamd"}, {imposter, otherUser});
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  EXPECT_NE(socketOf(root), path("nobody"));
}

TEST_F(TreeOnMachine, ServesAnOrdinaryUserWithNothingOfRoots) {
  const Outcome made = makeTree(ordinaryUser, {});
  ASSERT_EQ(made.status, 0) << made.output;
  const std::string root = path("61234/.local/share/vantrel/engine");
  ASSERT_EQ(startDaemon(ordinaryUser, root).status, 0);
  ASSERT_EQ(daemons().size(), 1U);
  EXPECT_EQ(statusOf("/proc/" + std::to_string(daemons()[0])).st_uid, ordinaryUser);
  const std::string folder = std::filesystem::path(socketOf(root)).parent_path();
  EXPECT_EQ(statusOf(folder).st_mode & 07777U, 0700U);
  EXPECT_EQ(statusOf(folder).st_uid, ordinaryUser);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    EXPECT_EQ(statusOf(entry.path()).st_uid, ordinaryUser) << entry.path();
  }
  EXPECT_EQ(scan(ordinaryUser, root, eicarZip()).status, 1);
  const Outcome checked = makeTree(ordinaryUser, {"--check"});
  EXPECT_EQ(checked.status, 1);
  EXPECT_EQ(checked.output, "Engine tree " + root + ": no real definitions in " + root + "/db\n");
}

TEST_F(TreeOnMachine, KeepsAwayFromASocketFolderThatSomebodyElseMade) {
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  const std::string before = socketOf(root);
  const std::string folder = std::filesystem::path(before).parent_path();
  ASSERT_EQ(rmdir(folder.c_str()), 0);
  ASSERT_EQ(run(otherUser, "/bin/mkdir", {"-m", "777", folder}).status, 0);
  EXPECT_EQ(startDaemon(ordinaryUser, root).status, 0);
  EXPECT_NE(socketOf(root), before);
  EXPECT_TRUE(answers(socketOf(root)));
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(TreeOnMachine, IsNotMadeByRootInsideAnotherUsersFolder) {
  const Outcome made = makeTree(0, {path("61234/tree")});
  EXPECT_EQ(made.status, 1);
  EXPECT_TRUE(names(made, "belongs to user 61234")) << made.output;
  EXPECT_FALSE(std::filesystem::exists(path("61234/tree")));
}

TEST_F(TreeOnMachine, UsesTheMachinesDaemonWhileItAnswers) {
  const std::string root = path("61234/tree");
  ASSERT_EQ(makeTree(ordinaryUser, {root}).status, 0);
  const std::string privateSocket = socketOf(root);
  startMachineDaemon();
  const Outcome made = makeTree(ordinaryUser, {root});
  ASSERT_EQ(made.status, 0) << made.output;
  EXPECT_EQ(socketOf(root), path("machine/clamd.ctl"));
  EXPECT_EQ(option(root + "/etc/clamd.conf", "MaxFileSize"), "9M");
  EXPECT_EQ(option(root + "/etc/front.conf", "DaemonConfig"), "/etc/clamav/clamd.conf");
  EXPECT_EQ(scan(ordinaryUser, root, otherFile()).status, 1);
  EXPECT_EQ(startDaemon(ordinaryUser, root).status, 0);
  EXPECT_EQ(daemons().size(), 1U);
  endDaemons();
  EXPECT_EQ(startDaemon(ordinaryUser, root).status, 0);
  EXPECT_EQ(socketOf(root), privateSocket);
  EXPECT_EQ(scan(ordinaryUser, root, eicarFile()).status, 1);
}

TEST_F(TreeOnMachine, WaitsForAMachinesDaemonThatDoesNotAnswerYet) {
  startMachineDaemon();
  const pid_t daemon = daemons().at(0);
  kill(daemon, SIGSTOP);
  const Outcome made = makeTree(ordinaryUser, {});
  kill(daemon, SIGCONT);
  EXPECT_EQ(made.status, 0);
  EXPECT_TRUE(names(made, "does not answer yet")) << made.output;
  EXPECT_EQ(socketOf(path("61234/.local/share/vantrel/engine")), path("machine/clamd.ctl"));
}

TEST_F(TreeOnMachine, ForEveryoneRunsAsThePackagesAccount) {
  const std::string root = path("everyone");
  const Outcome made = makeTree(0, {"--machine", root});
  ASSERT_EQ(made.status, 0) << made.output;
  ASSERT_EQ(startDaemon(0, root).status, 0);
  ASSERT_EQ(daemons().size(), 1U);
  EXPECT_EQ(statusOf("/proc/" + std::to_string(daemons()[0])).st_uid, packagedAccount("").user);
  EXPECT_EQ(scan(ordinaryUser, root, eicarFile()).status, 1);
  EXPECT_EQ(startDaemon(ordinaryUser, root).status, 0);
  EXPECT_EQ(makeTree(0, {"--machine", root}).status, 0);
  EXPECT_EQ(makeTree(ordinaryUser, {"--machine", root}).status, 1);
}

}  // namespace
}  // namespace quillo
