#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "agent/VantrelQuillo.h"
#include "posix/FileFacts.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/menu/ThrobberFixture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/StdoutCapture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"

namespace quillo {

// Runs what the agent starts as a test says, by the threads' names: on a thread of its own, at once
// in place of one, or, as long as nothing is said, when the test calls run().
class AgentThreads final : public ThreadStarter {
 public:
  void detachNewThread(const std::string& name, std::function<void()> body) override {
    if (onStart) {
      onStart(name);
    }
    if (refused.count(name) > 0) {
      throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    if (atOnce.count(name) > 0) {
      body();
      return;
    }
    std::lock_guard hold(mutex_);
    names_.push_back(name);
    if (real.count(name) > 0) {
      threads_.start(std::move(body));
    } else {
      bodies_[name] = std::move(body);
    }
  }
  void run(const std::string& name) { bodies_.at(name)(); }
  void join() { threads_.join(); }
  std::vector<std::string> names() {
    std::lock_guard hold(mutex_);
    return names_;
  }
  void forgetNames() {
    std::lock_guard hold(mutex_);
    names_.clear();
    names_.shrink_to_fit();
  }
  std::ptrdiff_t count(const std::string& name) {
    const auto started = names();
    return std::count(started.begin(), started.end(), name);
  }

  std::set<std::string> atOnce;
  std::set<std::string> real;
  std::set<std::string> refused;
  // Called with each thread's name before it is there.
  std::function<void(const std::string& name)> onStart;

 private:
  std::mutex mutex_;
  std::vector<std::string> names_;
  std::map<std::string, std::function<void()>> bodies_;
  JoinedThreads threads_;
};

// A whole agent on a desktop of fakes, in a home folder of its own. An engine is installed there,
// and its daemon is said to run.
class AgentUnderTest {
 public:
  AgentUnderTest() {
    desktop.folders.home = home.path();
    desktop.folders.temporary = home.makeFolder("tmp");
    desktop.folders.resources = home.makeFolder("resources");
    desktop.preferenceStore.set("PathToClamav", engine());
    desktop.preferenceStore.set("PathToUpdateLog", home.path() + "/update.log");
    home.writeProgram("engine/bin/clamdscan", "#!/bin/sh\nexit 0\n");
    daemon = RunningDaemon{"/running/clamd", home.write("engine/etc/clamd.conf",
                                                        "LocalSocket " + socketPath() + "\n")};
    clock.setSleepsPassAtOnce(true);
    threads.atOnce = {"clamd PING", "clamd QUIT"};
    throbber = std::make_unique<Throbber>(throbberServicesOf(desktop, clock));
  }
  ~AgentUnderTest() {
    output.restore();
    agent_.reset();
  }

  // The agent is made at the first call, so that a test can prepare the desktop before.
  VantrelQuillo& agent() {
    if (!agent_) {
      agent_ = std::make_unique<VantrelQuillo>(
          AgentServices{desktop.platform, desktop.preferences, clock, threads,
                        [this] { return findDaemon(); },
                        [this](pid_t, const std::string&) { return listenerIsOurs; }},
          *throbber);
    }
    return *agent_;
  }
  std::string engine() const { return home.path() + "/engine"; }
  std::string socketPath() const { return home.path() + "/clamd.ctl"; }
  std::string scanLog() const {
    return contentsOfFile(home.path() + "/Library/Logs/VantrelQuillo-scan.log").value_or("");
  }
  FakeSystemLog& log() { return desktop.systemLog; }
  // Those records that grow while it only begins and ends watching.
  void forgetWhatFakesKeep() {
    log().clear();
    threads.forgetNames();
    desktop.growl.withdrawn.clear();
    desktop.imageLoader.loaded.clear();
    desktop.statusBar.item.images.clear();
    desktop.statusBar.item.toolTips.clear();
  }

  RestoredOutput output;
  TemporaryFolder home;
  FakePlatform desktop;
  ManualClock clock;
  AgentThreads threads;
  std::optional<RunningDaemon> daemon;
  std::function<std::optional<RunningDaemon>()> findDaemon = [this] { return daemon; };
  // Whether what listens at the socket is said to be brought up by the agent.
  bool listenerIsOurs = true;
  std::unique_ptr<Throbber> throbber;

 private:
  std::unique_ptr<VantrelQuillo> agent_;
};

}  // namespace quillo
