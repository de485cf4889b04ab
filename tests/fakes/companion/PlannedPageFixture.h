#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "companion/planned/PlannedPage.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"

namespace quillo {

// A system that plans what it is told, unless it has a problem.
struct FakePlannedScans final : PlannedScans {
  Listing list() override { return {scans, noSystem}; }
  Wording put(const PlannedScan& scan) override {
    if (!problem.empty()) {
      return problem;
    }
    PlannedScan planned = scan;
    planned.id = scan.id.empty() ? "new" : scan.id;
    planned.isActive = true;
    std::erase_if(scans, [&](const PlannedScan& other) { return other.id == planned.id; });
    scans.push_back(planned);
    return {};
  }
  Wording remove(const std::string& id) override {
    if (problem.empty()) {
      std::erase_if(scans, [&](const PlannedScan& scan) { return scan.id == id; });
    }
    return problem;
  }
  Wording runNow(const std::string& id) override {
    started.push_back(id);
    return problem;
  }
  Wording end(const std::string& id) override {
    ended.push_back(id);
    return problem;
  }
  void observe(std::function<void()> changed) override { hasChanged = std::move(changed); }
  std::function<void()> hasChanged;
  std::vector<PlannedScan> scans;
  std::vector<std::string> started;
  std::vector<std::string> ended;
  Wording problem;
  Wording noSystem;
};

class PlannedPageFixture : public testing::Test {
 protected:
  PlannedPageFixture() { strings.texts["PLANNED_REPLACES"] = "was %@"; }
  void plan(const std::string& id, PlannedScan::Often often = PlannedScan::Often::daily) {
    PlannedScan scan;
    scan.id = id;
    scan.folders = {"/home/anna/" + id};
    scan.often = often;
    scan.day = 3;
    scan.isActive = true;
    system.scans.push_back(scan);
  }
  // Lets the system answer.
  void answered() { threads.run("planned"); }
  void shown() {
    page.refresh();
    answered();
  }

  TemporaryFolder home;
  FakeApplication application;
  FakeLocalizedStrings strings;
  FakeThreads threads;
  FakePlannedScans system;
  FakePage ui{"planned"};
  FakeMainWindow window;
  std::optional<LastScans> last;
  PlannedPage page{ui,
                   window,
                   {application, strings, system, threads,
                    [](std::int64_t time) { return "time " + std::to_string(time); },
                    [this](const std::vector<PlannedScan>&) { return last; }}};
};

}  // namespace quillo
