#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "menu/Throbber.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"

namespace quillo {

inline ThrobberServices throbberServicesOf(FakePlatform& desktop, Clock& clock) {
  return {desktop.application,
          clock,
          desktop.dockTile,
          desktop.folders,
          desktop.imageLoader,
          desktop.localizedStrings,
          desktop.mainInterface.outlets,
          desktop.modifierKeys,
          desktop.preferences,
          desktop.statusBar,
          desktop.systemLog,
          desktop.workspace};
}

// Writes down how long each sleep was, and with which image in the status item, and at every sleep
// and every wait does what the test had in mind for that moment.
class ScriptedClock final : public PassingClock {
 public:
  using Shown = std::pair<std::string, std::chrono::milliseconds>;

  explicit ScriptedClock(FakeStatusItem& item) : item_(item) {}

  void sleepFor(Duration length) override {
    shown.emplace_back(item_.image(),
                       std::chrono::duration_cast<std::chrono::milliseconds>(length));
    PassingClock::sleepFor(length);
  }
  void waitOn(std::condition_variable&, std::unique_lock<std::mutex>&, Duration) override {
    ++waits;
    if (atWait) {
      atWait();
    }
  }

  std::vector<Shown> shown;
  int waits = 0;
  std::function<void()> atWait;

 private:
  FakeStatusItem& item_;
};

class FakeThrobberOwner final : public ThrobberOwner {
 public:
  explicit FakeThrobberOwner(Clock& clock) : lock_(clock) {}

  std::int32_t scannerCount() override { return count; }
  void modifyScannerCountBy(std::int32_t delta) override {
    ++changes;
    if (atChange) {
      atChange(delta);
    }
    count += delta;
  }
  StatusFacts status() override { return facts; }
  Condition& throbberLock() override { return lock_; }
  void restartWatcher() override { ++restarts; }
  void updateEnded() override { ++endedUpdates; }
  void statusChanged() override {}
  std::optional<std::string> updateLog() override { return log; }

  std::atomic<std::int32_t> count{0};
  std::atomic<int> restarts{0};
  int endedUpdates = 0;
  // Called before the count changes.
  std::function<void(std::int32_t delta)> atChange;
  int changes = 0;
  std::optional<std::string> log;
  StatusFacts facts;

 private:
  Condition lock_;
};

class ThrobberFixture : public testing::Test {
 protected:
  using Shown = std::vector<ScriptedClock::Shown>;

  static void append(Shown& list, const Shown& more) {
    list.insert(list.end(), more.begin(), more.end());
  }
  static Shown scanPass() {
    Shown pass = {{"scanning1", std::chrono::milliseconds(200)}};
    for (const int frame : {2, 3, 4, 5, 6, 7, 6, 5, 4, 3, 2}) {
      pass.emplace_back("scanning" + std::to_string(frame), std::chrono::milliseconds(100));
    }
    return pass;
  }
  static Shown updatePass() {
    Shown pass;
    for (const int frame : {7, 6, 5, 4, 3, 2, 1}) {
      pass.emplace_back("scanning" + std::to_string(frame), std::chrono::milliseconds(100));
    }
    return pass;
  }
  static Shown sleepShowing(const std::string& image) {
    return {{image, std::chrono::milliseconds(1000)}};
  }

  ThrobberServices services() { return throbberServicesOf(desktop, clock); }
  // What the agent does with one watched folder.
  static void watch(Throbber& throbber) {
    throbber.clearMenu();
    throbber.setNumItemsToWatch(1);
    throbber.addToMenuWithObjectToWatch("/srv", "/srv");
    throbber.setReady();
  }
  bool looksBusy() { return menu.abortMenuItem.isEnabled(); }
  bool looksWatching() { return menu.stopMenuItem.isEnabled(); }
  bool looksIdle() { return menu.startMenuItem.isEnabled(); }

  FakePlatform desktop;
  FakeMainInterface& menu = desktop.mainInterface;
  FakeStatusItem& item = desktop.statusBar.item;
  ScriptedClock clock{item};
  FakeThrobberOwner owner{clock};
};

}  // namespace quillo
