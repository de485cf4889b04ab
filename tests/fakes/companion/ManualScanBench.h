#pragma once

#include <future>
#include <optional>
#include <string>
#include <vector>

#include "companion/scan/ManualScan.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/Record.h"
#include "tests/support/Threads.h"

namespace quillo {

// The machine's time, a hundred times as fast: waits are real, and short.
class HurriedClock final : public Clock {
 public:
  Duration now() override { return real_.now() * 100; }
  std::chrono::system_clock::time_point wallTime() override { return real_.wallTime(); }
  void sleepFor(Duration length) override { real_.sleepFor(length / 100); }
  void waitOn(std::condition_variable& variable, std::unique_lock<std::mutex>& held,
              Duration bound) override {
    real_.waitOn(variable, held, bound / 100);
  }

 private:
  SystemClock real_;
};

// Keeps all that it sees.
class RecordedScan final : public ManualScanObserver {
 public:
  void verdict(const Verdict& verdict) override { verdicts.add(verdict); }
  void advanced() override { advances.add(1); }
  void ended(const ManualScanResult& result) override { results.add(result); }

  Record<Verdict> verdicts;
  Record<int> advances;
  Record<ManualScanResult> results;
};

class FakeScanHistory final : public ScanHistory {
 public:
  void runBegan(const std::vector<std::string>& paths) override {
    calls.add("began " + std::to_string(paths.size()));
  }
  void verdict(const Verdict& verdict) override { calls.add("verdict " + verdict.path); }
  void runEnded(const ManualScanResult& result) override {
    calls.add("ended " + std::to_string(result.found));
  }
  Record<std::string> calls;
};

// What stands around scans of the main application.
struct ManualScanBench {
  ManualScanServices services() {
    return {desktop.application,  clock,
            desktop.folders,      desktop.localizedStrings,
            desktop.modifierKeys, desktop.preferences,
            desktop.systemLog,    threads,
            desktop.volumes,      desktop.workspace};
  }

  FakePlatform desktop;
  HurriedClock clock;
  RecordedScan seen;
  FakeScanHistory history;
  JoinedThreads threads;
};

}  // namespace quillo
