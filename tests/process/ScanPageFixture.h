#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>

#include "companion/scan/ScanPage.h"
#include "platform/AgentLink.h"
#include "posix/Text.h"
#include "tests/fakes/companion/ManualScanBench.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/process/FakeClientTree.h"

namespace quillo {

class ChosenAgent final : public AgentLink {
 public:
  std::optional<AgentStatus> status() const override {
    AgentStatus said;
    said.state = state;
    return runs ? std::optional(said) : std::nullopt;
  }
  AgentPresence presence() const override {
    return runs ? AgentPresence::answering : AgentPresence::absent;
  }
  AgentStart lastStart() const override { return startState; }
  void observe(std::function<void()> changed) override { observer = std::move(changed); }
  Wording refresh() override { return {}; }
  bool start() override {
    ++starts;
    return isKnown;
  }
  bool runs = false;
  bool isKnown = true;
  std::string state = "watching";
  AgentStart startState;
  std::function<void()> observer;
  int starts = 0;
};

class ChosenFinds final : public AllowedFinds {
 public:
  bool isAllowed(const Verdict& infection) override { return allowed.count(infection.file()) > 0; }
  std::string allow(const Verdict& infection,
                    const std::optional<FileIdentity>& /*found*/) override {
    if (problem.empty()) {
      allowed.insert(infection.file());
    }
    return problem.empty() ? "" : infection.file() + problem;
  }
  std::set<std::string> allowed;
  std::string problem;  // behind the file's name
};

// The page that scans at once, with the tree's own scanner behind it.
class ScanPageFixture : public testing::Test {
 protected:
  ScanPageFixture() {
    bench.desktop.application.keepsPosted = true;
    bench.desktop.preferenceStore.set(
        "PathToClamav", deletingLastPathComponent(deletingLastPathComponent(tree.program())));
    bench.desktop.preferenceStore.set("QuarantineFolder", tree.files().at("quarantine/"));
    bench.desktop.localizedStrings.texts = {{"SCAN_REPORT_FOUND_MANY", "found %@"},
                                            {"SCAN_REPORT_CLEAN_MANY", "clean %@"},
                                            {"SCAN_DONE_MOVED_TO", "to %@"}};
    open(bench.services());
  }
  ~ScanPageFixture() override {
    page.reset();
    bench.threads.join();
  }

  void open(const ManualScanServices& services) {
    page = std::make_unique<ScanPage>(
        window,
        ScanPageServices{services, agent, [this] { return volumes; }, volumeChanges, allowed,
                         [this](const std::vector<std::string>& paths) { excluded = paths; },
                         &bench.history});
  }
  FakePage& shown() { return window.pages["scan"]; }
  std::string path(const std::string& name) const { return tree.files().at(name); }
  // Does what is posted to the main thread until that holds.
  bool performUntil(const std::function<bool()>& holds) {
    return awaitThat([&] {
      bench.desktop.application.performPosted();
      return holds();
    });
  }
  bool awaitReport() {
    return performUntil([this] { return shown().isVisible("report"); });
  }
  bool scan(const std::vector<std::string>& paths) {
    page->scan(paths);
    return awaitReport();
  }
  // Makes the daemon keep the first file for itself.
  void holdTheDaemon() {
    tree.daemon([this](const SessionClamd::Question& question) -> std::optional<std::string> {
      if (!isHeld.exchange(true)) {
        held.set_value();
        letGo.get_future().wait();
      }
      return SessionClamd::truth(question);
    });
  }
  std::string done(std::size_t row) { return shown().row("finds", row).cells[2]; }

  wrapper::FakeClientTree tree;
  ManualScanBench bench;
  FakeMainWindow window;
  ChosenAgent agent;
  ChosenFinds allowed;
  std::vector<std::string> volumes;
  FakeVolumeChanges volumeChanges;
  std::vector<std::string> excluded;
  std::atomic<bool> isHeld = false;
  std::promise<void> held;
  std::promise<void> letGo;
  std::unique_ptr<ScanPage> page;
};

}  // namespace quillo
