#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "clamav/Daemons.h"
#include "posix/PlatformException.h"
#include "posix/UniqueFd.h"
#include "tests/fakes/tools/TreeSandbox.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Threads.h"
#include "tools/engine-tree/AppArmor.h"

namespace quillo {
namespace {

// Listens on a socket and gives the first caller one answer; without an answer it lets him wait.
class FakeDaemon {
 public:
  FakeDaemon(const std::string& path, const std::string& answer) : listener_(listenAt(path)) {
    if (!answer.empty()) {
      thread_.start([this, answer] {
        const UniqueFd caller(accept(listener_.get(), nullptr, nullptr));
        char question[6] = {};
        if (recv(caller.get(), question, sizeof question, MSG_WAITALL) > 0) {
          send(caller.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
        }
      });
    }
  }
  ~FakeDaemon() {
    shutdown(listener_.get(), SHUT_RDWR);
    thread_.join();
  }

 private:
  UniqueFd listener_;
  JoinedThreads thread_;
};

std::string missingReason(const MachinePlaces& places) {
  try {
    installedPrograms(places);
  } catch (const PlatformException& failure) {
    return failure.reason();
  }
  return "";
}

TEST(InstalledPrograms, AreFoundInTheFirstPlaceThatHasThem) {
  const TreeSandbox sandbox;
  MachinePlaces places = sandbox.places();
  places.daemons.insert(places.daemons.begin(), "/nonexistent/clamd");
  EXPECT_EQ(installedPrograms(places).daemon, sandbox.path("machine/clamd"));
}

TEST(InstalledPrograms, NameTheMissingPackageAndHowToInstallIt) {
  const TreeSandbox sandbox;
  std::filesystem::remove(sandbox.path("machine/clamdscan"));
  sandbox.write("machine/os-release", "NAME=\"Some\"\nID=ubuntu\nID_LIKE=debian\n");
  EXPECT_EQ(missingReason(sandbox.places()),
            "ClamAV is not installed completely: no clamdscan. Install it with: sudo apt install "
            "clamdscan");
  sandbox.write("machine/os-release", "ID=fedora\n");
  EXPECT_NE(missingReason(sandbox.places()).find("sudo dnf install clamav"), std::string::npos);
  std::filesystem::remove(sandbox.path("machine/clamd"));
  sandbox.write("machine/os-release", "ID=arch\n");
  EXPECT_EQ(missingReason(sandbox.places()),
            "ClamAV is not installed completely: no clamd, no clamdscan. Install it with: sudo "
            "pacman -S clamav");
}

TEST(MachineDaemon, IsAbsentWhereNothingIsConfigured) {
  const TreeSandbox sandbox;
  const MachineDaemon daemon = findMachineDaemon(sandbox.places());
  EXPECT_FALSE(daemon.usable());
  EXPECT_EQ(daemon.configuration, "");
}

TEST(MachineDaemon, AnswersOnTheSocketOfItsConfiguration) {
  const TreeSandbox sandbox;
  sandbox.write("machine/clamd.conf", "LocalSocket " + sandbox.path("s") + "\nMaxFileSize 9M\n");
  const FakeDaemon fake(sandbox.path("s"), std::string("PONG\0", 5));
  const MachineDaemon daemon = findMachineDaemon(sandbox.places());
  EXPECT_EQ(daemon.state, DaemonState::answers);
  EXPECT_EQ(daemon.socket, sandbox.path("s"));
  EXPECT_EQ(daemon.options.value("MaxFileSize"), "9M");
}

TEST(MachineDaemon, IsSilentWhileItLoads) {
  const TreeSandbox sandbox;
  sandbox.write("machine/clamd.conf", "LocalSocket " + sandbox.path("s") + "\n");
  const FakeDaemon fake(sandbox.path("s"), "");
  const MachineDaemon daemon = findMachineDaemon(sandbox.places());
  EXPECT_EQ(daemon.state, DaemonState::silent);
  EXPECT_TRUE(daemon.usable());
}

TEST(MachineDaemon, IsAbsentWhenSomethingElseAnswers) {
  const TreeSandbox sandbox;
  sandbox.write("machine/clamd.conf", "LocalSocket " + sandbox.path("s") + "\n");
  const FakeDaemon fake(sandbox.path("s"), "220 hello");
  EXPECT_EQ(findMachineDaemon(sandbox.places()).state, DaemonState::absent);
}

TEST(MachineDaemon, IsNotASocketOfAnUntrustedUser) {
  const TreeSandbox sandbox;
  const FakeDaemon fake(sandbox.path("s"), "");
  EXPECT_EQ(pingDaemon(sandbox.path("s"), {geteuid() + 1}, std::chrono::milliseconds(200)),
            DaemonState::absent);
}

TEST(MachineDaemon, IsNotWhatAnUnfilledConfigurationDescribes) {
  const TreeSandbox sandbox;
  sandbox.write("machine/clamd.conf", "Example\nLocalSocket " + sandbox.path("s") + "\n");
  const FakeDaemon fake(sandbox.path("s"), "");
  EXPECT_FALSE(findMachineDaemon(sandbox.places()).usable());
}

TEST(MachineDaemon, IsSilentWhenItsProcessRunsWithoutASocketYet) {
  const TreeSandbox sandbox;
  sandbox.write("machine/clamd.conf", "LocalSocket " + sandbox.path("s") + "\n");
  std::filesystem::create_directory(sandbox.path("proc/17"));
  sandbox.write("proc/17/comm", "clamd\n");
  const std::string user = std::to_string(geteuid());
  sandbox.write("proc/17/status",
                "Name:\tclamd\nUid:\t" + user + "\t" + user + "\t" + user + "\t" + user + "\n");
  sandbox.write("proc/17/cmdline", std::string("/usr/sbin/clamd\0--foreground=true\0", 34));
  if (geteuid() == 0) {  // an ordinary user's process is not the machine's
    EXPECT_EQ(findMachineDaemon(sandbox.places()).state, DaemonState::silent);
  } else {
    EXPECT_EQ(findMachineDaemon(sandbox.places()).state, DaemonState::absent);
  }
}

TEST(ConfigurationOption, IsFoundInEachForm) {
  EXPECT_EQ(configurationOption({"clamd"}), "");
  EXPECT_EQ(configurationOption({"clamd", "--foreground=true"}), "");
  EXPECT_EQ(configurationOption({"clamd", "-c", "/a"}), "/a");
  EXPECT_EQ(configurationOption({"clamd", "-F", "-c/a"}), "/a");
  EXPECT_EQ(configurationOption({"clamd", "--config-file=/a"}), "/a");
  EXPECT_EQ(configurationOption({"clamd", "--config-file", "/a"}), "/a");
  EXPECT_EQ(configurationOption({"clamd", "-c"}), "");
}

class TreeConfinement : public testing::Test {
 protected:
  void SetUp() override {
    plan.root = "/opt/tree";
    plan.definitions = sandbox.path("tree-db");
    std::filesystem::create_directory(plan.definitions);
    sandbox.write("machine/apparmor", "Y\n");
    sandbox.write("profiles/usr.bin.freshclam", "");
    sandbox.write("profiles/usr.sbin.clamd", "");
    for (const char* name : {"profiles/local", "profiles/disable", "profiles/force-complain"}) {
      std::filesystem::create_directory(sandbox.path(name));
    }
  }
  std::vector<std::string> hints() const {
    return confinementHints(plan, sandbox.places(), sandbox.path("tools"));
  }

  TreeSandbox sandbox;
  TreePlan plan;
};

TEST_F(TreeConfinement, IsNamedWithTheRulesToAdd) {
  ASSERT_EQ(hints().size(), 2U);
  EXPECT_NE(hints()[0].find(sandbox.path("tools/apparmor/usr.bin.freshclam")), std::string::npos);
  EXPECT_NE(hints()[1].find("usr.sbin.clamd"), std::string::npos);
}

TEST_F(TreeConfinement, LeavesClamdFreeToReadAHome) {
  plan.root = "/home/u/tree";
  ASSERT_EQ(hints().size(), 1U);
  EXPECT_NE(hints()[0].find("freshclam"), std::string::npos);
}

TEST_F(TreeConfinement, IsNotNamedWhereItIsOffOrAlreadyKnowsTheTree) {
  sandbox.write("profiles/disable/usr.sbin.clamd", "");
  sandbox.write("profiles/local/usr.bin.freshclam", "owner @{HOME}/vantrel/** r,\n");
  EXPECT_TRUE(hints().empty());
  std::filesystem::remove(sandbox.path("profiles/disable/usr.sbin.clamd"));
  EXPECT_EQ(hints().size(), 1U);
  sandbox.write("machine/apparmor", "N\n");
  EXPECT_TRUE(hints().empty());
}

}  // namespace
}  // namespace quillo
