#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <future>
#include <stdexcept>

#include "posix/FileFacts.h"
#include "posix/UniqueFd.h"
#include "scanning/AbortedScans.h"
#include "scanning/EngineRun.h"
#include "scanning/UnscannedFiles.h"
#include "tests/fakes/scanning/ScannerFixture.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class PatientScannerFailure : public ScannerFixture {
 protected:
  std::size_t errorDialogs() {
    return bench.desktop.interfaceLoader.loaded("QuarantinedDialog").size();
  }
};

TEST_F(PatientScannerFailure, AnUnreachableDaemonIsReportedByADialogThatQuits) {
  bench.owner.alive = false;
  scan({"status2-"});
  EXPECT_EQ(bench.owner.calls(),
            (Lines{"run began", "alive?", "notify 6 <CLAMDSCAN_ERROR>", "run ended"}));
  EXPECT_EQ(bench.desktop.systemLog.lines(), Lines{"can't connect to clamd"});
  ASSERT_EQ(errorDialogs(), 1U);
  const auto dialog = bench.desktop.interfaceLoader.loaded("QuarantinedDialog")[0];
  EXPECT_EQ(dialog->message(), "<CLAMDSCAN_ERROR>");
  EXPECT_EQ(dialog->deleteButtonTitle(), "Quit Vantrel Quillo");
  dialog->press(ButtonDialog::Button::deleteButton);
  EXPECT_TRUE(bench.owner.calls.has("quit"));
}

TEST_F(PatientScannerFailure, AnUnreachableDaemonIsReportedOnceARun) {
  bench.owner.alive = false;
  scan({"status2-a", "status2-b"});
  EXPECT_EQ(errorDialogs(), 1U);
  scan({"status2-c"});
  EXPECT_EQ(errorDialogs(), 2U);
}

TEST_F(PatientScannerFailure, AnUnreachableDaemonWithoutADialogIsLoggedOnly) {
  bench.owner.alive = false;
  bench.desktop.interfaceLoader.setBroken(true);
  scan({"status2-"});
  EXPECT_EQ(bench.desktop.systemLog.lines(),
            (Lines{"can't connect to clamd", "Error loading nib for warning dialog!"}));
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "alive?", "run ended"}));
}

TEST_F(PatientScannerFailure, ErrorsWithALivingDaemonNeedNoAction) {
  EXPECT_EQ(scan({"error-a"}), Lines{"ERROR: Can't access file " + path("error-a")});
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "alive?", "run ended"}));
  EXPECT_EQ(errorDialogs(), 0U);
  EXPECT_FALSE(std::filesystem::exists(listPath));
}

TEST_F(PatientScannerFailure, TheDaemonIsNotAskedForUnlessTheEngineFailed) {
  bench.owner.alive = false;
  bench.owner.chosen.quarantineOrTrash = InfectedFileAction::moveToTrash;
  useEngine(QUILLO_FAKE_ENGINE);
  scan({"a"});
  scan({"infected-a"});
  scan({"crash-a"});
  EXPECT_FALSE(bench.owner.calls.has("alive?"));
  EXPECT_EQ(errorDialogs(), 0U);
}

TEST_F(PatientScannerFailure, ADaemonThatDiedIsRecovered) {
  EXPECT_EQ(scan({"daemon-a", "b"}),
            (Lines{"clamd appears to have died - attempting restart...", path("b") + ": OK"}));
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "recover", "alive?", "run ended"}));
}

TEST_F(PatientScannerFailure, ADaemonThatCannotBeReachedIsRecoveredOnceARun) {
  const std::string line =
      "ERROR: Could not connect to clamd on LocalSocket /nowhere: No such file or directory";
  EXPECT_EQ(scan({"unreachable-a", "unreachable-b"}), (Lines{line, line}));
  EXPECT_EQ(bench.owner.calls.count("recover unreachable"), 1);
  scan({"unreachable-a", "unreachable-b"});
  EXPECT_EQ(bench.owner.calls.count("recover unreachable"), 2);
}

TEST_F(PatientScannerFailure, AnEngineThatCrashesEndsTheRun) {
  EXPECT_EQ(scan({"a", "crash-b", "c"}), Lines{path("a") + ": OK"});
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "run ended"}));
  EXPECT_EQ(bench.pipeline.statuses(), std::vector<int>{SIGKILL});
  EXPECT_FALSE(std::filesystem::exists(listPath));
}

TEST_F(PatientScannerFailure, ALineInTwoChunksIsTwoLines) {
  const std::string whole = path("split-a");
  const std::size_t half = whole.size() / 2;
  EXPECT_EQ(scan({"split-a", "b"}),
            (Lines{whole.substr(0, half), whole.substr(half) + ": OK", path("b") + ": OK"}));
}

TEST_F(PatientScannerFailure, AChunkThatIsNotUtf8IsDroppedAlone) {
  EXPECT_EQ(scan({"a", "garbage-b", "c"}), (Lines{path("a") + ": OK", path("c") + ": OK"}));
}

TEST_F(PatientScannerFailure, ASilentEngineLogsNothing) {
  EXPECT_EQ(scan({"silent-a"}), Lines());
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "run ended"}));
}

TEST_F(PatientScannerFailure, ALongReportIsReadToItsEnd) {
  // Longer than a pipe holds.
  const Lines lines = scan({"many-a", "many-b", "last"});
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), path("last") + ": OK");
  std::string all;
  for (const std::string& line : lines) {
    all += line;
  }
  std::string expected;
  for (const char* file : {"many-a", "many-b"}) {
    for (int part = 0; part < 1000; ++part) {
      expected += path(file) + " part " + std::to_string(part) + ": OK";
    }
  }
  EXPECT_EQ(all, expected + path("last") + ": OK");
}

TEST_F(PatientScannerFailure, AMissingEngineIsReportedToTheUserAndTheListStays) {
  useEngine("/no/such/engine");
  EXPECT_EQ(scan({"a"}), Lines());
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "no engine", "run ended"}));
  EXPECT_EQ(bench.owner.reports(), (Lines{"began 1", "ended 1"}));
  EXPECT_EQ(bench.desktop.systemLog.lines(), Lines());
  EXPECT_EQ(contentsOfFile(listPath), path("a") + "\n");
}

TEST_F(PatientScannerFailure, AScannerWithoutSettingsHasNoEngine) {
  PatientScanner fresh(bench.owner, bench.services);
  fresh.setMyName(name);
  fresh.scanList() = {"/a"};
  fresh.performScan();
  EXPECT_TRUE(bench.owner.calls.has("no engine"));
}

TEST_F(PatientScannerFailure, AnyOtherFailureIsLoggedWithAllThatWasAtHand) {
  // More than the system takes as one argument.
  const std::string tooLong(200000, 'x');
  useEngine(QUILLO_FAKE_ENGINE, {tooLong});
  scan({"a", "b"});
  const std::string list = "--file-list=" + listPath;
  EXPECT_EQ(bench.desktop.systemLog.lines(),
            (Lines{"Scanner: Caught LaunchFailure: cannot launch " QUILLO_FAKE_ENGINE
                   ": Argument list too long",
                   "Scanner v1 of 9: scanArguments: (" + tooLong + ", " + list + ")",
                   "Scanner v2 of 9: scanCommandPath: " QUILLO_FAKE_ENGINE,
                   "Scanner v3 of 9: outputPipe: (null)", "Scanner v4 of 9: taskOutput: (null)",
                   "Scanner v5 of 9: scanCheckTask: (null)",
                   "Scanner v6 of 9: scanParams: (" QUILLO_FAKE_ENGINE ", " + tooLong + ")",
                   "Scanner v7 of 9: thePaths: (" + path("a") + ", " + path("b") + ")",
                   "Scanner v8 of 9: [scanArguments objectAtIndex:0]: " + tooLong,
                   "Scanner v9 of 9: data: (null)"}));
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "run ended"}));
  EXPECT_TRUE(std::filesystem::exists(listPath));
}

TEST_F(PatientScannerFailure, ASystemWithoutProcessesIsLogged) {
  withFailingSystemCall(SYS_clone3, EAGAIN, [this] { scan({"a"}); });
  EXPECT_EQ(bench.desktop.systemLog.lines().at(0),
            "Scanner: Caught LaunchFailure: cannot launch " QUILLO_FAKE_ENGINE
            ": Resource temporarily unavailable");
  EXPECT_EQ(bench.desktop.systemLog.lines().size(), 10U);
  EXPECT_EQ(bench.owner.calls(), (Lines{"run began", "run ended"}));
}

TEST_F(PatientScannerFailure, AListThatCanBeKeptNowhereIsLogged) {
  withFailingSystemCall(SYS_openat, ENOSPC, [this] {
    scanner.scanList() = {"/a"};
    scanner.performScan();
  });
  EXPECT_EQ(bench.desktop.systemLog.lines().at(0),
            "Scanner: Caught ScanListFailure: cannot keep a scan list in memory: No space left on "
            "device");
  EXPECT_EQ(bench.owner.runs, 0);
  EXPECT_TRUE(bench.pipeline.startedPaths().empty());
}

TEST_F(PatientScannerFailure, TheListOfAFailedRunIsOverwrittenByTheNext) {
  useEngine("/no/such/engine");
  scan({"a"});
  useEngine(QUILLO_FAKE_ENGINE);
  EXPECT_EQ(scan({"b"}), Lines{path("b") + ": OK"});
  EXPECT_FALSE(std::filesystem::exists(listPath));
}

TEST_F(PatientScannerFailure, AFailureOfAnotherKindIsPassedOnWithTheCountLowered) {
  bench.owner.duringAliveCheck = [] { throw std::runtime_error("out of the blue"); };
  EXPECT_THROW(scan({"status2-a"}), std::runtime_error);
  EXPECT_EQ(bench.owner.runs, 0);
  EXPECT_EQ(bench.desktop.systemLog.lines(), Lines());
}

// Waits until there is a file of that name; false when there is none in time.
bool waitForFile(const std::string& folder, const std::string& name) {
  return FolderWatch(folder).awaitThat([&] { return fileExists(folder + "/" + name); });
}

TEST_F(PatientScannerFailure, AnEngineThatHangsIsWaitedForUntilItIsKilled) {
  Lines lines;
  JoinedThreads run([&] { lines = scan({"a", "hang-b"}); });
  const bool hanging = waitForFile(bench.folder.path(), "hang-b.pid");
  EXPECT_TRUE(hanging);
  EXPECT_EQ(bench.owner.runs, 1);
  EXPECT_TRUE(std::filesystem::exists(listPath));
  if (hanging) {
    kill(std::stoi(contentsOfFile(path("hang-b.pid")).value_or("0")), SIGKILL);
  }
  run.join();
  EXPECT_EQ(lines, Lines{path("a") + ": OK"});
  EXPECT_EQ(bench.owner.runs, 0);
  EXPECT_EQ(bench.pipeline.statuses(), std::vector<int>{SIGKILL});
}

TEST_F(PatientScannerFailure, TheEndOfTheAgentLeavesNoFileToBeScannedAgain) {
  FakeGuardedPlaces places;
  UnscannedFiles unscanned({bench.clock, bench.desktop.systemLog, bench.dispatcher, bench.owner,
                            places, [](Clock::Duration) {}});
  RunningScanners running;
  bench.services.unscannedFiles = &unscanned;
  bench.services.runningScanners = &running;
  Lines lines;
  JoinedThreads run([&] { lines = scan({"a", "hang-b"}); });
  EXPECT_TRUE(waitForFile(bench.folder.path(), "hang-b.pid"));
  running.endAllForGood();
  run.join();
  EXPECT_EQ(lines, Lines{path("a") + ": OK"});
  EXPECT_FALSE(unscanned.areWaiting());
}

TEST_F(PatientScannerFailure, AnAbortLeavesOneLineWithTheNumberOfFilesWithoutAVerdict) {
  RunningScanners running;
  AbortedScans aborted(bench.desktop.systemLog, &bench.pipeline);
  bench.services.runningScanners = &running;
  bench.services.abortedScans = &aborted;
  auto run = std::async(std::launch::async, [&] { scan({"a", "hang-b", "c"}); });
  EXPECT_TRUE(waitForFile(bench.folder.path(), "hang-b.pid"));
  aborted.abort({"/queued"}, [&] {
    // The engine may be quicker than who takes note of it as running.
    while (run.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready) {
      running.endAll();
    }
  });
  EXPECT_EQ(bench.desktop.systemLog.lines(), Lines{"Scans aborted: 3 files were not scanned"});
  EXPECT_EQ(bench.pipeline.abandonedPaths(), (Lines{path("c"), path("hang-b"), "/queued"}));
}

}  // namespace
}  // namespace quillo
