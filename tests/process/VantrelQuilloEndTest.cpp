#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <utility>

#include "posix/ChildProcess.h"
#include "tests/fakes/agent/WatchingAgent.h"
#include "tests/fakes/engine/FakeClamd.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

TEST_F(WatchingAgent, GivesUpADaemonThatNeverStartsWhenItIsToQuit) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexec sleep 1000\n");
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    agent().quit();
    EXPECT_TRUE(desktop.application.exits.empty());
    threads.run("quit");
  };
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  EXPECT_GE(clock.slept(), std::chrono::seconds(60));
}

TEST_F(WatchingAgent, QuitsAfterALaunchAlsoWhenThereIsNoThreadForItsPatience) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
  threads.refused = {"quit"};
  std::vector<State> states;
  desktop.application.duringWait = [&] {
    if (states.empty()) {
      agent().quit();
    }
    states.push_back(state());
  };
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(states.front(), State::starting);
  EXPECT_EQ(states.back(), State::quitting);
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
}

TEST_F(WatchingAgent, QuitsADaemonThatIsOnlyBeingLaunchedOnceItCanBeAsked) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
  FakeClamd clamd(socketPath());
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    agent().quit();
    EXPECT_TRUE(desktop.application.exits.empty());
  };
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  // Before, it was looked at who listens there.
  ASSERT_EQ(clamd.visits(2).size(), 2U);
  EXPECT_EQ(clamd.visits(2)[1].bytes.substr(0, 4), "QUIT");
}

TEST_F(WatchingAgent, StopsBeforeItQuits) {
  watch();
  FakeClamd clamd(socketPath());
  agent().parts().daemonStart.weLaunchedClamd = true;
  agent().quit();
  EXPECT_FALSE(agent().isWatching());
  EXPECT_EQ(linesOf({ended, "trying to quit clamd"}), (Lines{ended, "trying to quit clamd"}));
  EXPECT_EQ(clamd.visits(1).size(), 1U);
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
}

TEST_F(WatchingAgent, QuitsAtOnceAlsoWhileARequestWaits) {
  watch();
  installRotator();
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    agent().quit();
    EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  };
  agent().startWatcher();
}

TEST_F(WatchingAgent, QuitsNoDaemonThatServedUnlistedBeforeItsLaunchSucceeded) {
  daemon.reset();
  // As the tree's does where the machine's own daemon answers.
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
  listenerIsOurs = false;
  FakeClamd clamd(socketPath());
  agent().applicationDidFinishLaunching();
  ASSERT_TRUE(log().has("clamd launched successfully.  Continuing..."));
  agent().quit();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  EXPECT_FALSE(log().has("trying to quit clamd"));
  for (const FakeClamd::Visit& visit : clamd.visits(1)) {
    EXPECT_NE(visit.bytes.substr(0, 4), "QUIT");
  }
}

TEST_F(WatchingAgent, GivesUpAlsoTheDaemonThatALauncherHasStarted) {
  HelperProgram gate{HelperProgram::idle};
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nsetsid /bin/sh -c 'echo $$ > \"" +
                                             home.path() + "/number\"; echo > \"" +
                                             gate.resourceFolder() +
                                             "/launches\"; exec sleep 1000' &\nwait\n");
  UniqueFd loading;
  desktop.application.duringWait = [&] {
    const auto alive = std::exchange(desktop.application.duringWait, nullptr);
    ASSERT_TRUE(gate.waitForLaunches(1));
    pid_t number = 0;
    std::ifstream(home.path() + "/number") >> number;
    loading.reset(static_cast<int>(syscall(SYS_pidfd_open, number, 0)));
    agent().quit();
    threads.run("quit");
  };
  agent().applicationDidFinishLaunching();
  ASSERT_TRUE(loading);
  EXPECT_TRUE(awaitReadable(loading.get()));
}

// An agent whose own daemon has crashed and is being launched again by a scanner.
class RecoveringAgent : public WatchingAgent {
 protected:
  // One program throughout: one that was only just written, while the agent's threads start others,
  // may not be run (execve(2), ETXTBSY).
  void crash() {
    daemon.reset();
    home.writeProgram(
        "engine/sbin/clamd",
        "#!/bin/sh\ncd '" + home.path() + "'\n[ -e crashed ] || exit 0\n: > launched\necho > '" +
            gate.resourceFolder() + "/launches'\nread line < '" + gate.resourceFolder() + "/go'\n");
    agent().applicationDidFinishLaunching();
    ASSERT_TRUE(helper.waitForLaunches(1));
    home.write("crashed", "");
    recovery.start([this] { agent().parts().scannerLink.recoverFromCrashedClamd(); });
    ASSERT_TRUE(gate.waitForLaunches(1));
    log().clear();
  }
  void TearDown() override {
    if (recovery.areLeft()) {
      agent().parts().clamdLink.abandonLaunch();
      recovery.join();
    }
    WatchingAgent::TearDown();
  }
  bool waits() const { return desktop.application.exits.empty(); }

  // What the daemon reports to, and waits at.
  HelperProgram gate{HelperProgram::idle};
  JoinedThreads recovery;
};

TEST_F(RecoveringAgent, QuitsTheDaemonOnceItCanBeAsked) {
  crash();
  std::unique_ptr<FakeClamd> clamd;
  desktop.application.duringWait = [&] {
    desktop.application.duringWait = nullptr;
    EXPECT_TRUE(waits());
    agent().quit();
    EXPECT_TRUE(waits());
    clamd = std::make_unique<FakeClamd>(socketPath());
    gate.letGo();
  };
  agent().quit();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  EXPECT_FALSE(agent().isWatching());
  ASSERT_TRUE(clamd);
  ASSERT_EQ(clamd->visits(1).size(), 1U);
  EXPECT_EQ(clamd->visits(1)[0].bytes.substr(0, 4), "QUIT");
}

TEST_F(RecoveringAgent, GivesUpADaemonThatNeverStartsWhenItIsToQuit) {
  crash();
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    EXPECT_TRUE(waits());
    threads.run("quit");
  };
  agent().quit();
  EXPECT_EQ(linesOf({"giving up on clamd, which has not started", "trying to quit clamd"}),
            (Lines{"giving up on clamd, which has not started", "trying to quit clamd"}));
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
}

TEST_F(RecoveringAgent, LeavesADaemonThatWasThereBeforeToItself) {
  crash();
  agent().parts().daemonStart.weLaunchedClamd = false;
  agent().quit();
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
  EXPECT_FALSE(log().has("trying to quit clamd"));
}

TEST_F(RecoveringAgent, LaunchesNoDaemonOnceItIsToQuit) {
  crash();
  desktop.application.duringWait = [this] {
    desktop.application.duringWait = nullptr;
    threads.run("quit");
  };
  agent().quit();
  std::filesystem::remove(home.path() + "/launched");
  agent().parts().clamdLink.setDaemonPaths(engine() + "/sbin/clamd", std::nullopt);
  agent().parts().scannerLink.recoverFromCrashedClamd();
  EXPECT_FALSE(fileExists(home.path() + "/launched"));
}

// A scanner of the agent's own that has a child, and none of the name "clamdscan" among them.
class ScanningAgent : public WatchingAgent {
 protected:
  ScanningAgent() : WatchingAgent(HelperProgram::idle), scan(slowScanner()) {
    EXPECT_TRUE(helper.waitForLaunches(1));
  }
  LaunchRequest slowScanner() const {
    const std::string resources = helper.resourceFolder();
    LaunchRequest request{"/bin/sh",
                          {"-c", "(echo > '" + resources + "/launches'; sleep 1000); exit 3"}};
    request.withItsChildren = true;
    return request;
  }
  // 0 when it has not ended by the deadline.
  int statusAtTheEnd() {
    auto end = std::async(std::launch::async, [this] { return scan.waitUntilExit(); });
    const bool inTime = end.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    scan.endAtOnce();
    return inTime ? end.get() : 0;
  }

  ChildProcess scan;
};

TEST_F(ScanningAgent, EndsItsOwnScannersWhateverTheirNameWhenScansAreAborted) {
  watch();
  const RunningScanners::Entry running(agent().parts().runningScanners, scan);
  agent().abortScans();
  EXPECT_EQ(statusAtTheEnd(), SIGKILL);
  EXPECT_TRUE(agent().isWatching());
}

TEST_F(ScanningAgent, EndsItsScannersWhenItQuits) {
  watch();
  const RunningScanners::Entry running(agent().parts().runningScanners, scan);
  desktop.distributedNotificationCenter.deliver("VantrelQuilloShouldQuit");
  EXPECT_EQ(statusAtTheEnd(), SIGKILL);
}

TEST_F(ScanningAgent, EndsAlsoAScannerThatBeginsWhileItQuits) {
  watch();
  agent().quit();
  const RunningScanners::Entry running(agent().parts().runningScanners, scan);
  EXPECT_EQ(statusAtTheEnd(), SIGKILL);
}

}  // namespace
}  // namespace quillo
