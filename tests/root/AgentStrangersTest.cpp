// What other users of the machine can do to an agent, and cannot.

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>

#include "clamav/ControlSocket.h"
#include "clamav/Daemons.h"
#include "posix/ChildProcess.h"
#include "posix/UniqueFd.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/StandInProcess.h"
#include "tests/support/StarterCare.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

constexpr uid_t stranger = 61235;
const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

// A folder below /tmp that belongs to a user and holds a program "clamd", which notes that it ran,
// and a configuration.
class OthersFolder {
 public:
  OthersFolder(const std::string& path, uid_t user) : path_(path) {
    makeFolder(path_);
    writeFile(at("clamd"), "#!/bin/sh\n: > " + at("ran") + "\n");
    writeFile(at("conf"), "LocalSocket " + at("socket") + "\n");
    check(chmod(at("clamd").c_str(), 0755), "chmod");
    check(chmod(path_.c_str(), 0777), "chmod");
    for (const char* name : {"clamd", "conf"}) {
      check(chown(at(name).c_str(), user, user), "chown");
    }
    check(chown(path_.c_str(), user, user), "chown");
  }
  ~OthersFolder() { fs::remove_all(path_); }
  std::string at(const std::string& name) const { return path_ + "/" + name; }

 private:
  const std::string path_;
};

// A real clamd of a user's, with one definition; ends with the object.
class UsersClamd {
 public:
  UsersClamd(const std::string& folder, uid_t user, const std::string& configuration)
      : folder_(folder) {
    makeFolder(folder_);
    writeFile(folder_ + "/one.ndb", "One:0:0:6f6e65\n");
    writeFile(configuration, "LocalSocket " + socket() + "\nDatabaseDirectory " + folder_ +
                                 "\nPidFile " + folder_ + "/pid\nUser clamav\n");
    check(chown(folder_.c_str(), user, user), "chown");
    const std::string number = std::to_string(user);
    const auto answers = [&] {
      return pingDaemon(socket(), {user}, longestWait) == DaemonState::answers;
    };
    const StarterCare care(answers);
    ChildProcess starter({"/usr/bin/setpriv",
                          {"--reuid", number, "--regid", number, "--clear-groups",
                           "/usr/sbin/clamd", "-c", configuration}});
    std::string output;
    const int status = starter.waitUntilExit([&output](std::string_view chunk) {
      output += chunk;
      return true;
    });
    EXPECT_TRUE(answers()) << status << " " << output;
    process_ = std::stoi(readFile(folder_ + "/pid"));
    handle_.reset(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
  }
  ~UsersClamd() {
    kill(process_, SIGKILL);
    waitForEnd(10000);
    fs::remove_all(folder_);
  }
  std::string socket() const { return folder_ + "/clamd.ctl"; }
  bool waitForEnd(int milliseconds) const {
    return awaitReadable(handle_.get(), std::chrono::milliseconds(milliseconds));
  }

 private:
  const std::string folder_;
  pid_t process_ = -1;
  UniqueFd handle_;
};

TEST(AgentStrangers, RunNothingThroughTheProcessList) {
  const OthersFolder evil("/tmp/evil", stranger);
  const StandInProcess process({evil.at("clamd") + " -c " + evil.at("conf")},
                               {"/bin/cat", stranger});
  GuardedHome home;
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas("clamd launched successfully.  Continuing..."));
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_FALSE(fs::exists(evil.at("ran")));
}

TEST(AgentStrangers, RunNothingAlsoWhereTheDaemonHasToBeRecovered) {
  const OthersFolder evil("/tmp/evil", GuardedHome::user);
  // A process of the user's own may name what others can write.
  const StandInProcess process({evil.at("clamd") + " -c " + evil.at("conf")},
                               {"/bin/cat", GuardedHome::user});
  GuardedHome home;
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_FALSE(fs::exists(evil.at("ran")));
}

TEST(AgentStrangers, AreNoDaemonsAlsoWithASetUserIdProgram) {
  const OthersFolder evil("/tmp/evil", stranger);
  fs::copy_file("/bin/cat", "/tmp/set-user-id");
  check(chmod("/tmp/set-user-id", 04755), "chmod");
  {
    const StandInProcess process({"/clamd"}, {"/tmp/set-user-id", stranger});
    EXPECT_FALSE(findRunningDaemon().has_value());
  }
  fs::remove("/tmp/set-user-id");
}

TEST(AgentStrangers, MayRunADaemonOfTheirOwnBesideTheUsers) {
  const UsersClamd others("/tmp/others", stranger, "/tmp/others/clamd.conf");
  GuardedHome home;
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas("clamd launched successfully.  Continuing..."));
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_EQ(home.stop(), 0);
  EXPECT_TRUE(home.logHas("trying to quit clamd"));
  EXPECT_FALSE(others.waitForEnd(0));
}

TEST(AgentStrangers, GetNoCommandOverASocketOfTheirs) {
  const UsersClamd others("/tmp/others", stranger, "/tmp/others/clamd.conf");
  const std::vector<uid_t> trusted = {0, GuardedHome::user};
  EXPECT_EQ(connectToDaemon(others.socket(), trusted).distrust,
            "its folder belongs to somebody else");
  // A link in a folder that is trusted leads there, too.
  makeFolder("/tmp/trusted");
  fs::create_symlink(others.socket(), "/tmp/trusted/clamd.ctl");
  EXPECT_EQ(connectToDaemon("/tmp/trusted/clamd.ctl", trusted).distrust,
            "a program of user 61235 listens");
  fs::remove_all("/tmp/trusted");
}

// Where the system hides processes from users (proc(5), hidepid), the tree's launcher finds the
// machine's daemon over its socket, and reports success.
TEST(AgentStrangers, KeepTheMachinesDaemonThatNoProcessListShowed) {
  check(mount("none", "/etc/clamav", "tmpfs", 0, "mode=755"), "mounting /etc/clamav");
  check(mount("proc", "/proc", "proc", 0, "hidepid=2"), "mounting /proc");
  {
    const UsersClamd machine("/tmp/machine", packagedAccount("").user, "/etc/clamav/clamd.conf");
    GuardedHome home;
    home.startAndAwaitWatching();
    EXPECT_TRUE(home.logHas("clamd launched successfully.  Continuing..."));
    EXPECT_EQ(home.stop(), 0);
    EXPECT_EQ(home.linesWith("trying to quit clamd"), 0);
    EXPECT_FALSE(machine.waitForEnd(200));
  }
  umount2("/proc", MNT_DETACH);
  umount2("/etc/clamav", MNT_DETACH);
}

}  // namespace
}  // namespace quillo::tests
