#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "companion/results/ResultsPage.h"
#include "history/HistoryStore.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/LaterThreads.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// The page over a history of the test's own.
class ResultsPageFixture : public testing::Test {
 protected:
  using Kind = HistoryResult::Kind;
  using Outcome = HistoryResult::Outcome;
  using Cells = std::vector<std::string>;

  ResultsPageFixture() {
    strings.texts["RESULTS_COUNT_MANY"] = "%@ files";
    strings.texts["RESULTS_BUSY_COUNT_MANY"] = "%@ folders";
    strings.texts["RESULTS_DONE_NOT_MOVED_REASON"] = "not moved: %@";
    strings.texts["RESULTS_EXCLUDE_QUESTION"] = "Exclude %@?";
    strings.texts["RESULTS_EXCLUDE_DETAIL"] = "pattern %@";
    strings.texts["RESULTS_EXCLUDE_DETAIL_FOUND"] = "a threat, pattern %@";
    strings.texts["RESULTS_BROKEN"] = "broken: %@";
    strings.texts["RESULTS_UNREADABLE"] = "unreadable: %@";
    strings.texts["RESULTS_FILE_GONE"] = "gone: %@";
    strings.texts["RESULTS_FOLDER_GONE"] = "no folder: %@";
    strings.texts["SIZE_BYTES"] = "%@ bytes";
    strings.texts["SIZE_KB"] = "%@ KB";
    strings.texts["DIGITS_SEPARATOR"] = ",";
    strings.texts["DIGITS_GROUPED_FROM"] = "1000";
  }
  HistoryResult result(const std::string& path, Kind kind = Kind::found,
                       Outcome outcome = Outcome::leftInPlace) {
    HistoryResult made;
    made.time = clock.wallTime();
    made.kind = kind;
    made.outcome = outcome;
    made.path = path;
    made.says = kind == Kind::found ? "Eicar" : "too large";
    return made;
  }
  void add(const HistoryResult& one) { store.write({{one}, {}}); }
  ResultsPage& open() {
    if (!page) {
      page = std::make_unique<ResultsPage>(
          shown, window,
          ResultsServices{
              application, threads, clock, strings, workspace, folder, home.path(),
              [this](const std::vector<std::string>& paths) { scanned = paths; },
              [this](const std::string& expression) { excluded.push_back(expression); },
              [this](const std::string& path, const std::optional<FileIdentity>& asked) {
                allowed.push_back(path);
                allowedFile = asked;
                return problem;
              },
              [this](const std::string& path) { shownInQuarantine = path; }});
    }
    return *page;
  }
  Cells files() {
    Cells all;
    for (std::size_t row = 0; row < shown.rowCount("results"); ++row) {
      all.push_back(shown.row("results", row).cells.at(1));
    }
    return all;
  }
  // Lets a search come to its end.
  void search() {
    threads.runAll();
    application.performPosted();
  }

  const TemporaryFolder home;
  const std::string folder = home.at("state");
  PassingClock clock;
  FakeSystemLog log;
  FakeApplication application;
  FakeLocalizedStrings strings;
  FakeWorkspace workspace;
  LaterThreads threads;
  FakePage shown{"results"};
  FakeMainWindow window;
  std::vector<std::string> scanned;
  std::vector<std::string> excluded;
  std::vector<std::string> allowed;
  std::optional<FileIdentity> allowedFile;
  std::string problem;  // with allowing
  std::string shownInQuarantine;
  HistoryStore store{folder, clock, log, {}};
  std::unique_ptr<ResultsPage> page;
};

}  // namespace quillo
