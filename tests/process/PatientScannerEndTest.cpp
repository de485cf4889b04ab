// What comes between the end of the engine and the end of the run.

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "scanning/PipelineObserver.h"
#include "tests/fakes/scanning/ScannerFixture.h"
#include "tests/fakes/watching/HelperProgram.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

// Answers for every ChildProcess::isRunning() that another source file calls: the linker's --wrap
// sends the calls here. Once reaped no child can be made to run on.
std::function<bool()> claimsToRun;

}  // namespace

bool isReallyRunning(ChildProcess* child) __asm__("__real__ZN6quillo12ChildProcess9isRunningEv");
bool isSaidToRun(ChildProcess* child) __asm__("__wrap__ZN6quillo12ChildProcess9isRunningEv");
bool isSaidToRun(ChildProcess* child) {
  return claimsToRun ? claimsToRun() : isReallyRunning(child);
}

namespace {

class PatientScannerEnd : public ScannerFixture {
 protected:
  PatientScannerEnd() { bench.clock.setSleepsPassAtOnce(true); }
  ~PatientScannerEnd() override { claimsToRun = nullptr; }
  // An engine that ends with status 2 and leaves a child that writes into its report.
  void leaveBehind(const std::string& script) {
    engine = std::make_unique<HelperProgram>("{\n" + script + "\n} &\nexit 2");
    useEngine(engine->resourceFolder() + "/gfslogger");
  }

  std::unique_ptr<HelperProgram> engine;
};

// Notes whether a file was there when the end of a scan was reported.
class FileAtTheEnd final : public PipelineObserver {
 public:
  explicit FileAtTheEnd(std::string path) : path_(std::move(path)) {}
  void noticed(const std::string&) override {}
  void becameStable(const std::string&) override {}
  void scanStarted(const std::vector<std::string>&) override { atBegin = fileExists(path_); }
  void scanEnded(const std::vector<std::string>&, int) override { atEnd = fileExists(path_); }
  void abandoned(const std::vector<std::string>&) override {}

  std::optional<bool> atBegin;
  std::optional<bool> atEnd;

 private:
  const std::string path_;
};

TEST_F(PatientScannerEnd, AnEngineThatIsStillThereIsReportedOnceASecond) {
  int asked = 0;
  claimsToRun = [&asked] { return ++asked <= 2; };
  EXPECT_EQ(scan({"a"}), Lines{path("a") + ": OK"});
  const std::string line = "Scanner task still running but performScan was about to exit!";
  EXPECT_EQ(bench.desktop.systemLog.lines(), (Lines{line, line}));
  EXPECT_EQ(bench.clock.slept(), std::chrono::seconds(2));
}

TEST_F(PatientScannerEnd, TheDaemonIsAskedForBeforeAnEngineThatIsStillThereIsWaitedFor) {
  bench.owner.alive = false;
  Lines before;
  claimsToRun = [&] {
    before = bench.owner.calls();
    return false;
  };
  scan({"status2-"});
  EXPECT_EQ(before, (Lines{"run began", "alive?", "notify 6 <CLAMDSCAN_ERROR>"}));
}

TEST_F(PatientScannerEnd, WhatIsReportedAfterTheEndOfTheEngineIsDealtWithToTheLast) {
  leaveBehind(
      "read line < \"$go\"; echo \"WARNING: Can't connect to clamd.\"; echo > "
      "\"${0%/*}/launches\"\n"
      "read line < \"$go\"; echo '/late: OK'; echo > \"${0%/*}/launches\"");
  const auto letItReport = [this] {
    engine->letGo();
    EXPECT_TRUE(engine->waitForLaunches(1));
  };
  bench.owner.duringAliveCheck = [&] {
    EXPECT_TRUE(engine->waitForLaunches(1));
    letItReport();
  };
  bool listWasThere = false;
  bench.owner.duringRecovery = [&] {
    letItReport();
    listWasThere = fileExists(listPath);
  };
  EXPECT_EQ(scan({"a"}),
            (Lines{"clamd appears to have died - attempting restart...", "/late: OK"}));
  EXPECT_TRUE(listWasThere);
  EXPECT_FALSE(fileExists(listPath));
}

TEST_F(PatientScannerEnd, TheListIsThereFromBeforeTheBeginUntilBeforeTheEnd) {
  FileAtTheEnd observer(listPath);
  bench.services.pipelineObserver = &observer;
  scan({"a"});
  EXPECT_EQ(observer.atBegin, std::optional<bool>(true));
  EXPECT_EQ(observer.atEnd, std::optional<bool>(false));
}

}  // namespace
}  // namespace quillo
