#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/fakes/agent/AgentUnderTest.h"
#include "tests/fakes/watching/HelperProgram.h"

namespace quillo {

// An agent whose watcher really runs a helper.
class WatchingAgent : public testing::Test, protected AgentUnderTest {
 protected:
  using Lines = std::vector<std::string>;
  using State = Watching::State;

  explicit WatchingAgent(const std::string& script = HelperProgram::idle) : helper(script) {
    desktop.folders.resources = helper.resourceFolder();
    desktop.preferenceStore.set("QuilloFolderArray",
                                PreferenceValue{PreferenceArray{watchedFolder("~", true)}});
    threads.real = {"FSEventWatcher", "CatchUp"};
  }
  void TearDown() override {
    agent().stopWatcher();
    threads.join();
    output.restore();
    if (HasFailure()) {
      std::printf("%s\n", scanLog().c_str());
    }
  }
  void watch() {
    agent().applicationDidFinishLaunching();
    ASSERT_TRUE(helper.waitForLaunches(1));
    ASSERT_TRUE(agent().isWatching());
    log().clear();
  }
  State state() { return agent().parts().watching.state(); }
  // Puts a rotator there, so that every start of watching waits for a program.
  void installRotator() { helper.folder().writeProgram("engine-tools/newsyslog", "#!/bin/sh\n"); }
  Lines linesOf(const Lines& wanted) {
    Lines found;
    for (const std::string& line : log().lines()) {
      if (std::find(wanted.begin(), wanted.end(), line) != wanted.end()) {
        found.push_back(line);
      }
    }
    return found;
  }

  static constexpr const char* goodNight = "Nighty night!";
  static constexpr const char* goodMorning = "Wakey wakey!";
  static constexpr const char* stopForSleep =
      "We're currently watching for changes, so stop and then register to know when we wake up "
      "again";
  static constexpr const char* ended = "attempting to terminate gfslogger";
  static constexpr const char* begun = "scan email files";
  static constexpr const char* restarted = "restartWatcher";

  HelperProgram helper;
};

}  // namespace quillo
