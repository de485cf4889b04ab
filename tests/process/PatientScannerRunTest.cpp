#include <signal.h>

#include <atomic>
#include <fstream>

#include "posix/FileFacts.h"
#include "scanning/EngineRun.h"
#include "tests/fakes/scanning/ScannerFixture.h"
#include "tests/fakes/watching/HelperProgram.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

class PatientScannerRun : public ScannerFixture {};

using Lines = std::vector<std::string>;

TEST_F(PatientScannerRun, LogsTheReportAndLeavesNothingBehind) {
  EXPECT_EQ(scan({"b", "a", "c with blank"}),
            (Lines{path("b") + ": OK", path("a") + ": OK", path("c with blank") + ": OK"}));
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "run ended"}));
  EXPECT_FALSE(std::filesystem::exists(listPath));
  EXPECT_EQ(bench.desktop.systemLog.lines(), Lines());
  EXPECT_EQ(bench.pipeline.statuses(), std::vector<int>{0});
}

TEST_F(PatientScannerRun, ReportsTheRunAndEachVerdictAsItComes) {
  scan({"a", "infected-b", "error-c"});
  EXPECT_EQ(
      bench.owner.reports(),
      (Lines{"began 3", path("a") + " = clean", path("infected-b") + " = Eicar-Test-Signature",
             path("error-c") + " = not scanned: it cannot be reached or is no file", "ended 3"}));
}

TEST_F(PatientScannerRun, PassesItsParametersOnAndTheListLast) {
  useEngine(QUILLO_FAKE_ENGINE, {"--move=/a folder", "--multiscan", "--stdout"});
  EXPECT_EQ(scan({"arguments-"}), (Lines{"argument --move=/a folder", "argument --multiscan",
                                         "argument --stdout", "argument --file-list=" + listPath}));
}

TEST_F(PatientScannerRun, NewSettingsAreUsedFromTheNextRunOn) {
  scan({"arguments-"});
  useEngine(QUILLO_FAKE_ENGINE, {"--other"});
  EXPECT_EQ(scan({"arguments-"}), (Lines{"argument --other", "argument --file-list=" + listPath}));
}

TEST_F(PatientScannerRun, OneRoundTakesFiltersAndScansABatch) {
  bench.desktop.preferenceStore.set(
      "ExcludePatterns", PreferenceValue{PreferenceArray{excludePattern("skip", true, false)}});
  useEngine(QUILLO_FAKE_ENGINE);
  bench.makeReady({bench.file("a"), bench.file("skip me")});
  StdoutCapture capture;
  scanner.round();
  EXPECT_EQ(withoutTimestamps(capture.text()), Lines{path("a") + ": OK"});
  EXPECT_TRUE(scanner.scanList().empty());
  EXPECT_EQ(bench.dispatcher.scannableCount(), 0);
}

TEST_F(PatientScannerRun, TakesTheNextBatchWithoutASignal) {
  Lines paths;
  for (int index = 0; index < 450; ++index) {
    paths.push_back(bench.file("silent-" + std::to_string(index)));
  }
  bench.makeReady(paths);
  for (int round = 0; round < 3; ++round) {
    scanner.round();
  }
  std::vector<std::size_t> sizes;
  for (const auto& batch : bench.pipeline.batches()) {
    sizes.push_back(batch.size());
  }
  EXPECT_EQ(sizes, (std::vector<std::size_t>{200, 200, 50}));
}

TEST_F(PatientScannerRun, QuarantinedFilesAreReportedWithTheFolderOfTheMoveOption) {
  bench.owner.chosen.quarantineOrTrash = InfectedFileAction::quarantine;
  bench.owner.chosen.quarantineFolder = "/home/anna/Quarantine";
  useEngine(QUILLO_FAKE_ENGINE);
  const std::string line = path("infected-a") + ": Eicar-Test-Signature FOUND";
  EXPECT_EQ(scan({"infected-a"}), Lines{line});
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "notify 2 " + line, "run ended"}));
  EXPECT_EQ(bench.pipeline.statuses(), std::vector<int>{1});
  bench.desktop.interfaceLoader.loaded("QuarantinedDialog")
      .at(0)
      ->press(ButtonDialog::Button::deleteButton);
  EXPECT_TRUE(bench.owner.calls.has("open /home/anna/Quarantine"));
}

TEST_F(PatientScannerRun, InformationIsSuppressedOnlyByAPreferenceThatIsTrue) {
  bench.owner.chosen.quarantineOrTrash = InfectedFileAction::quarantine;
  const auto dialogsOfOneRun = [this] {
    useEngine(QUILLO_FAKE_ENGINE);
    const std::size_t before = bench.desktop.interfaceLoader.loaded("QuarantinedDialog").size();
    scan({"infected-a"});
    return bench.desktop.interfaceLoader.loaded("QuarantinedDialog").size() - before;
  };
  EXPECT_EQ(dialogsOfOneRun(), 1U);
  bench.desktop.preferenceStore.set("SuppressInfoDialogs", true);
  EXPECT_EQ(dialogsOfOneRun(), 0U);
  bench.desktop.preferenceStore.set("SuppressInfoDialogs", false);
  EXPECT_EQ(dialogsOfOneRun(), 1U);
  bench.desktop.preferenceStore.set("SuppressInfoDialogs", "true");
  EXPECT_EQ(dialogsOfOneRun(), 1U);
}

TEST_F(PatientScannerRun, FilesInTheTrashAreReportedByPath) {
  bench.owner.chosen.quarantineOrTrash = InfectedFileAction::moveToTrash;
  useEngine(QUILLO_FAKE_ENGINE);
  scan({"infected-x:y.zip"});
  EXPECT_TRUE(bench.owner.calls.has("notify 3 " + path("infected-x:y.zip")));
}

TEST_F(PatientScannerRun, FilesLeftInPlaceAreWarnedOf) {
  scan({"a", "infected-b"});
  EXPECT_TRUE(
      bench.owner.calls.has("notify 1 " + path("infected-b") + ": Eicar-Test-Signature FOUND"));
  EXPECT_EQ(bench.desktop.interfaceLoader.loaded("WarningDialog").size(), 1U);
}

TEST_F(PatientScannerRun, ASecondScannersListIsAnother) {
  PatientScanner second(bench.owner, bench.services);
  second.setMyName(name + "_second");
  second.setMenuAndParams(ScannerBench::arguments(QUILLO_FAKE_ENGINE), bench.owner.chosen);
  second.scanList() = {bench.file("arguments-")};
  StdoutCapture capture;
  second.performScan();
  EXPECT_EQ(withoutTimestamps(capture.text()).at(1),
            "argument --file-list=" + ScannerBench::listPath(name + "_second"));
}

TEST_F(PatientScannerRun, AListThatCannotBeWrittenIsHandedOverInMemory) {
  std::filesystem::create_directory(listPath);
  EXPECT_EQ(scan({"a", "b", "arguments-"}),
            (Lines{path("a") + ": OK", path("b") + ": OK", "argument --stdout",
                   "argument --file-list=/dev/fd/3"}));
  EXPECT_EQ(bench.desktop.systemLog.lines(),
            Lines{"Scan list " + listPath + " cannot be replaced: Is a directory"});
  EXPECT_TRUE(std::filesystem::is_directory(listPath));
}

TEST_F(PatientScannerRun, ReportsToTheObserverBeginAndEnd) {
  scan({"a", "error-b"});
  EXPECT_EQ(bench.pipeline.startedPaths(), (Lines{path("a"), path("error-b")}));
  EXPECT_EQ(bench.pipeline.scannedPaths(), (Lines{path("a"), path("error-b")}));
  EXPECT_EQ(bench.pipeline.statuses(), std::vector<int>{2});
}

TEST_F(PatientScannerRun, CanBeEndedByItsNumberWithWhatItStarted) {
  RunningScanners running;
  bench.services.runningScanners = &running;
  HelperProgram engine("(sleep 1000)\nexit 3");
  useEngine(engine.resourceFolder() + "/gfslogger");
  std::atomic<bool> ended = false;
  // It may have said that it runs before it stands in the list.
  JoinedThreads ending([&] {
    EXPECT_TRUE(engine.waitForLaunches(1));
    while (!ended) {
      running.endAll();
    }
  });
  scan({"a"});
  ended = true;
  ending.join();
  EXPECT_EQ(bench.pipeline.statuses(), std::vector<int>{SIGKILL});
  // It has gone from the list.
  running.endAll();
}

}  // namespace
}  // namespace quillo
