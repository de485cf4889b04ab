#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <filesystem>
#include <optional>

#include "platform/linux/planned/SystemdTimers.h"
#include "posix/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

using Often = PlannedScan::Often;

const std::string runtime = "/run/user/0";

// One a test: they run beside each other.
std::string controlGroup() {
  return std::string("/sys/fs/cgroup/vantrel-test-") +
         testing::UnitTest::GetInstance()->current_test_info()->name();
}

// The real systemd of a user, with a bus of its own, in a group of processes of its own.
class UserSystemd {
 public:
  explicit UserSystemd(const TemporaryFolder& home) {
    EXPECT_EQ(unshare(CLONE_NEWNS), 0) << "needs root";
    EXPECT_EQ(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    // It believes that the machine was started by it.
    std::filesystem::create_directories("/run/systemd/system");
    std::filesystem::create_directories(runtime);
    chmod(runtime.c_str(), 0700);
    umount2("/sys/fs/cgroup", MNT_DETACH);
    EXPECT_EQ(mount("none", "/sys/fs/cgroup", "cgroup2", 0, nullptr), 0);
    removeGroup();
    EXPECT_EQ(mkdir(controlGroup().c_str(), 0755), 0);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    setenv("XDG_CONFIG_HOME", home.at("config").c_str(), 1);
    setenv("XDG_DATA_HOME", home.at("data").c_str(), 1);
    setenv("HOME", home.path().c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    process_.emplace(
        LaunchRequest{.launchPath = "/bin/sh",
                      .arguments = {"-c", "echo $$ >" + controlGroup() +
                                              "/cgroup.procs && exec /lib/systemd/systemd --user"},
                      .output = LaunchRequest::Output::discardedStdout});
    EXPECT_TRUE(awaitThat([] { return isUp(); }));
  }
  ~UserSystemd() {
    process_->terminate();
    process_->waitUntilExit();
    removeGroup();
  }
  UserSystemd(const UserSystemd&) = delete;
  UserSystemd& operator=(const UserSystemd&) = delete;

  // As its user does in a terminal.
  static int control(const std::vector<std::string>& words) {
    std::string ignored;
    return control(words, ignored);
  }
  static std::string said(const std::vector<std::string>& words) {
    std::string output;
    EXPECT_EQ(control(words, output), 0) << output;
    return output;
  }
  // It answers by itself before its bus is there, and before it has its name on that.
  static bool isUp() {
    ChildProcess child(
        {.launchPath = "/usr/bin/busctl",
         .arguments = {"--user", "--auto-start=no", "call", "org.freedesktop.systemd1",
                       "/org/freedesktop/systemd1", "org.freedesktop.DBus.Peer", "Ping"},
         .output = LaunchRequest::Output::discardedStdout});
    return control({"show-environment"}) == 0 && child.waitUntilExit() == 0;
  }

 private:
  static int control(std::vector<std::string> words, std::string& output) {
    words.insert(words.begin(), "--user");
    ChildProcess child({.launchPath = "/usr/bin/systemctl", .arguments = words});
    return child.waitUntilExit([&output](std::string_view chunk) {
      output += chunk;
      return true;
    });
  }
  static void removeGroup() {
    std::error_code ignored;
    std::vector<std::string> groups = {controlGroup()};
    for (auto entry = std::filesystem::recursive_directory_iterator(controlGroup(), ignored);
         !ignored && entry != std::filesystem::recursive_directory_iterator();
         entry.increment(ignored)) {
      if (entry->is_directory(ignored)) {
        groups.push_back(entry->path().string());
      }
    }
    for (auto group = groups.rbegin(); group != groups.rend(); ++group) {
      rmdir(group->c_str());
    }
  }

  std::optional<ChildProcess> process_;
};

class RealSystemdTimers : public testing::Test {
 protected:
  RealSystemdTimers() {
    home.writeProgram("my 5% vantrel",
                      "#!/bin/sh\nfor word; do printf '%s|' \"$word\"; done >\"$0.said\"\n");
    scan.folders = {"/a b", "/100% $HOME ${HOME} $$", "/\"'\\;", "/line\nbreak", "/\xff\xfe", "/é"};
    scan.often = Often::weekly;
    scan.day = 3;
    scan.hour = 4;
    scan.minute = 5;
  }
  QDBusConnection bus() {
    return QDBusConnection::connectToBus("unix:path=/run/user/0/bus", "real systemd");
  }
  PlannedScan planned() {
    const auto listing = timers.list();
    EXPECT_EQ(listing.problem.key, "");
    EXPECT_EQ(listing.scans.size(), 1U);
    return listing.scans.empty() ? PlannedScan() : listing.scans[0];
  }

  int argc = 1;
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
  QCoreApplication application{argc, argv};
  TemporaryFolder home;
  const std::string program = home.at("my 5% vantrel");
  UserSystemd systemd{home};
  PlannedScan scan;
  const std::string units = home.at("config/systemd/user");
  SystemdTimers timers{bus(), program, units};
};

TEST_F(RealSystemdTimers, HaveWhatWasPlannedAndRunItWithEveryByte) {
  EXPECT_EQ(timers.put(scan).key, "");
  const PlannedScan read = planned();
  EXPECT_TRUE(read.plansTheSameAs(scan));
  EXPECT_TRUE(read.isActive);
  EXPECT_GT(read.nextRun, 0);
  EXPECT_EQ(UserSystemd::control({"is-enabled", "vantrel-scan-" + read.id + ".timer"}), 0);

  EXPECT_EQ(timers.runNow(read.id).key, "");
  const std::string expected = "scan|--planned|" + read.id +
                               "|--|/a b|/100% $HOME ${HOME} $$|/\"'\\;|/line\nbreak|"
                               "file:///%FF%FE|/é|";
  EXPECT_TRUE(awaitThat([&] { return TemporaryFolder::read(program + ".said") == expected; }))
      << TemporaryFolder::read(program + ".said");
}

TEST_F(RealSystemdTimers, ShowWhatTheirUserSwitchedOffOrEdited) {
  ASSERT_EQ(timers.put(scan).key, "");
  PlannedScan read = planned();
  const std::string timer = "vantrel-scan-" + read.id + ".timer";
  EXPECT_EQ(UserSystemd::control({"disable", "--now", timer}), 0);
  EXPECT_FALSE(planned().isActive);
  home.write("config/systemd/user/" + timer + ".d/override.conf",
             "[Timer]\nOnCalendar=\nOnCalendar=Mon..Fri 10:00\n");
  EXPECT_EQ(UserSystemd::control({"daemon-reload"}), 0);
  EXPECT_EQ(planned().calendar, "Mon..Fri *-*-* 10:00:00");
  EXPECT_EQ(planned().often, Often::other);
  read.hour = 11;
  EXPECT_EQ(timers.put(read).key, "PLANNED_OVERRIDDEN");
  EXPECT_TRUE(planned().isActive);
}

TEST_F(RealSystemdTimers, RunNoOtherProgramAndSayThatAnEditHasThem) {
  ASSERT_EQ(timers.put(scan).key, "");
  PlannedScan read = planned();
  const std::string service = "vantrel-scan-" + read.id + ".service";
  const std::string edit = "config/systemd/user/" + service + ".d/override.conf";
  const std::string other = home.writeProgram("other", "#!/bin/sh\ntouch \"$0.ran\"\n");
  home.write(edit, "[Service]\nExecStart=\nExecStart=@" + other + " vantrel scan --planned " +
                       read.id + " -- /a\n");
  EXPECT_EQ(UserSystemd::control({"daemon-reload"}), 0);
  EXPECT_FALSE(planned().isUnderstood);
  EXPECT_EQ(planned().otherProgram, other);
  EXPECT_EQ(timers.runNow(read.id).key, "PLANNED_OTHER_NOT_RUN");
  const Wording problem = timers.put(planned());
  EXPECT_EQ(problem.key, "PLANNED_OVERRIDDEN");
  EXPECT_EQ(problem.values, (std::vector<std::string>{service, service}));
  std::filesystem::remove(home.at(edit));
  EXPECT_EQ(timers.put(read).key, "");
  EXPECT_TRUE(planned().isUnderstood);
  EXPECT_FALSE(TemporaryFolder::exists(other + ".ran"));
}

TEST_F(RealSystemdTimers, SayThatAScanRunsUntilItIsEnded) {
  home.writeProgram("my 5% vantrel",
                    "#!/bin/sh\ntrap 'exit 143' TERM\n: >\"$0.began\"\nsleep 60 &\nwait\n");
  int changes = 0;
  timers.observe([&changes] { ++changes; });
  ASSERT_EQ(timers.put(scan).key, "");
  const std::string id = planned().id;
  EXPECT_FALSE(planned().isRunning);
  EXPECT_EQ(planned().lastRun, 0);
  EXPECT_EQ(timers.runNow(id).key, "");
  EXPECT_TRUE(awaitThat([&] { return TemporaryFolder::exists(program + ".began"); }));
  EXPECT_TRUE(planned().isRunning);
  EXPECT_GT(planned().lastRun, 0);
  const auto hasChanged = [&changes, before = changes] {
    QCoreApplication::processEvents();
    return changes > before;
  };
  EXPECT_TRUE(awaitThat(hasChanged));
  EXPECT_EQ(timers.end(id).key, "");
  EXPECT_TRUE(awaitThat([&] { return !planned().isRunning; }));
  EXPECT_TRUE(planned().isActive);
  EXPECT_EQ(UserSystemd::said({"--failed", "--quiet"}), "");
}

TEST_F(RealSystemdTimers, DoNotCountATimeThatPassedWithoutAScan) {
  ASSERT_EQ(timers.put(scan).key, "");
  const std::string service = "vantrel-scan-" + planned().id + ".service";
  home.write("config/systemd/user/" + service + ".d/override.conf",
             "[Unit]\nConditionPathExists=/no/such/file\n");
  EXPECT_EQ(UserSystemd::control({"daemon-reload"}), 0);
  EXPECT_EQ(UserSystemd::control({"start", "--wait", service}), 0);
  EXPECT_EQ(UserSystemd::said({"show", "-P", "ConditionResult", service}), "no\n");
  EXPECT_EQ(planned().lastRun, 0);
}

TEST_F(RealSystemdTimers, PassInSilenceOnceTheProgramIsGone) {
  ASSERT_EQ(timers.put(scan).key, "");
  const std::string service = "vantrel-scan-" + planned().id + ".service";
  std::filesystem::remove(program);
  EXPECT_EQ(UserSystemd::control({"start", "--wait", service}), 0);
  EXPECT_EQ(UserSystemd::said({"show", "-P", "ConditionResult", service}), "no\n");
  EXPECT_EQ(UserSystemd::said({"show", "-P", "ActiveState", service}), "inactive\n");
  EXPECT_EQ(UserSystemd::said({"--failed", "--quiet"}), "");
}

TEST_F(RealSystemdTimers, AreChangedAndRemovedWithoutATrace) {
  ASSERT_EQ(timers.put(scan).key, "");
  PlannedScan read = planned();
  read.often = Often::monthly;
  read.day = 28;
  read.onlyOnMains = true;
  EXPECT_EQ(timers.put(read).key, "");
  EXPECT_TRUE(planned().plansTheSameAs(read));
  EXPECT_EQ(timers.remove(read.id).key, "");
  EXPECT_TRUE(timers.list().scans.empty());
  for (const auto& entry : std::filesystem::recursive_directory_iterator(units)) {
    EXPECT_TRUE(entry.is_directory()) << entry.path();
  }
}

}  // namespace
}  // namespace quillo
