#pragma once

#include <fcntl.h>

#include <string>
#include <vector>

#include "companion/quarantine/QuarantineServices.h"
#include "posix/PathOpening.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/MoveFolder.h"

namespace quillo {

// A quarantine folder with files in it, and an engine that the test answers for.
struct QuarantineFixture {
  std::string quarantined(const std::string& name, const std::string& contents = "bad") {
    std::string path = scratch.write(name, contents);
    wrapper::MoveFolder mover(clock, wrapper::DesktopTrash("", ""));
    mover.open(folder);
    mover.move(path, openPath(path, O_RDONLY).get(), "Eicar");
    return path;
  }

  TemporaryFolder scratch;
  std::string folder = scratch.makeFolder("q");
  ManualClock clock;
  FakeApplication application;
  FakeLocalizedStrings strings;
  FakeThreads threads;
  // Newer than those that found anything.
  QuarantineRecord::Time built{std::chrono::hours(24 * 365 * 60)};
  // What the engine says of each file that it is asked about.
  std::function<QuarantineRecord::Check(const QuarantinedFile&)> verdict =
      [](const QuarantinedFile&) { return QuarantineRecord::Check::infected; };
  std::string engineProblem;
  std::vector<std::string> allowed;
  std::string notAllowed;  // why nothing can be allowed
  QuarantineServices services{
      application,
      clock,
      strings,
      threads,
      [this] { return folder; },
      [this] { return built; },
      [this](const QuarantineStore& store, const std::vector<QuarantinedFile>& files,
             QuarantineRecord::Time definitions) {
        QuarantineCheckResult result;
        result.problem = engineProblem;
        for (const QuarantinedFile& file : files) {
          const auto check =
              engineProblem.empty() ? verdict(file) : QuarantineRecord::Check::notScanned;
          if (check != QuarantineRecord::Check::notScanned) {
            store.noteCheck(file, check, "Eicar", definitions);
          }
          result.files.push_back({file, check, "Eicar", false});
        }
        return result;
      },
      [this](const std::string& path, const FileIdentity&, const std::string&) {
        if (notAllowed.empty()) {
          allowed.push_back(path);
        }
        return notAllowed;
      }};
};

}  // namespace quillo
