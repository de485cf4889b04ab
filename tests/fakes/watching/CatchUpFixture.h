#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "watchers/CatchUp.h"

namespace quillo {

// A watcher's look for what was missed in one guarded folder, and the agent's that comes after it.
class CatchUpFixture : public testing::Test {
 protected:
  CatchUpFixture() {
    desktop.folders.home = home.path();
    clock.setWallTime(std::chrono::system_clock::now());
    owner.watch(folder.path() + "/", true);
    catchUp = std::make_unique<CatchUp>(owner, services);
  }

  void hear(const std::string& chunk) { catchUp->heard(chunk, catchUp->then()); }
  // Of a helper that watches from now on.
  void beginRun() {
    catchUp->runBegins();
    hear("\n");
  }
  void begin() {
    catchUp->watchingBegins();
    beginRun();
  }
  void join() { owner.threads.join(); }
  // The next agent.
  void startAnew() {
    catchUp->watchingEnds();
    catchUp = nullptr;
    owner.paths.clear();
    catchUp = std::make_unique<CatchUp>(owner, services);
  }
  int looks() { return desktop.backgroundWork.gaveWay; }
  bool hasLine(const std::string& part) {
    const std::vector<std::string> lines = desktop.systemLog.lines();
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
      return line.find(part) != std::string::npos;
    });
  }
  std::string kept() const { return desktop.folders.stateFolder() + "/last-watched"; }

  TemporaryFolder home;
  TemporaryFolder folder;
  FakePlatform desktop;
  ManualClock clock;
  FakeWatcherOwner owner;
  WatcherServices services = watcherServicesOf(desktop, clock, owner);
  std::unique_ptr<CatchUp> catchUp;
};

}  // namespace quillo
