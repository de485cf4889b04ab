// Scans of chosen files with the tree's own scanner and a daemon that says what it is told to.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <future>

#include "companion/scan/ManualScan.h"
#include "posix/Text.h"
#include "scanning/PutBackFiles.h"
#include "tests/fakes/companion/ManualScanBench.h"
#include "tests/process/FakeClientTree.h"
#include "tests/support/ManualClock.h"
#include "tests/support/StdoutCapture.h"

namespace quillo {
namespace {

using Phase = ManualScanState::Phase;
using Problem = ManualScanResult::Problem;
using Question = SessionClamd::Question;
using Lines = std::vector<std::string>;

// The clock of these tests hurries.
constexpr Clock::Duration longest = std::chrono::hours(1);

class ManualScanTest : public testing::Test {
 protected:
  ManualScanTest() { useEngine(tree.program()); }
  ~ManualScanTest() override { bench.threads.join(); }

  void useEngine(const std::string& scanner) {
    bench.desktop.preferenceStore.set(
        "PathToClamav", deletingLastPathComponent(deletingLastPathComponent(scanner)));
  }
  std::string path(const std::string& name) const { return tree.files().at(name); }
  std::string folderOf(int files) const {
    for (int number = 0; number < files; ++number) {
      tree.file("in/clean" + std::to_string(number));
    }
    return path("in");
  }
  ManualScanResult run(const Lines& paths) {
    scan.run(paths);
    return bench.seen.results.last();
  }
  std::vector<Verdict> of(Verdict::Kind kind) {
    std::vector<Verdict> all = bench.seen.verdicts();
    std::erase_if(all, [kind](const Verdict& verdict) { return verdict.kind != kind; });
    return all;
  }

  wrapper::FakeClientTree tree;
  ManualScanBench bench;
  ManualScan scan{bench.services(), bench.seen, &bench.history};
};

TEST_F(ManualScanTest, CountsCleanFoundAndNotScannedApart) {
  folderOf(3);
  tree.file("in/deep/infected");
  tree.files().write("in/large", std::string(1025, 'x'));
  const ManualScanResult result = run({path("in")});
  EXPECT_EQ(result.clean, 3U);
  EXPECT_EQ(result.found, 1U);
  EXPECT_EQ(result.notScanned, 1U);
  EXPECT_EQ(result.notReached, 0U);
  EXPECT_GT(result.cleanBytes, 0U);
  EXPECT_EQ(result.problem, Problem::none);
  ASSERT_EQ(of(Verdict::Kind::infected).size(), 1U);
  EXPECT_EQ(of(Verdict::Kind::infected)[0].path, path("in/deep/infected"));
}

TEST_F(ManualScanTest, ShowsNoDialogsAndNotifiesOfNothing) {
  StdoutCapture capture;
  run({tree.file("infected")});
  EXPECT_EQ(bench.desktop.interfaceLoader.loaded("WarningDialog").size(), 0U);
  EXPECT_TRUE(bench.desktop.growl.posted().empty());
  EXPECT_EQ(bench.desktop.systemLog.lines(), Lines());
  EXPECT_EQ(capture.text(), "");
}

TEST_F(ManualScanTest, SaysOfEachFileThatTheScannerDropsWhy) {
  const std::string empty = tree.files().write("empty", "");
  const ManualScanResult result = run({empty, path("gone"), "relative", tree.file("clean")});
  EXPECT_EQ(result.notScanned, 3U);
  EXPECT_EQ(result.clean, 1U);
  std::map<std::string, std::string> reasons;
  for (const Verdict& verdict : of(Verdict::Kind::notScanned)) {
    reasons[verdict.path] = verdict.reason;
  }
  EXPECT_EQ(reasons, (std::map<std::string, std::string>{{empty, "<SCAN_REASON_EMPTY>"},
                                                         {path("gone"), "<SCAN_REASON_GONE>"},
                                                         {"relative", "<SCAN_REASON_RELATIVE>"}}));
}

TEST_F(ManualScanTest, KeepsWhatWasFoundForTheHistory) {
  const std::string infected = tree.file("infected");
  run({infected, tree.file("clean")});
  EXPECT_EQ(bench.history.calls(), (Lines{"began 2", "verdict " + infected, "ended 1"}));
}

TEST_F(ManualScanTest, CountsWhatItsUserAllowedApart) {
  PutBackFiles allowed(path("state"), bench.desktop.systemLog, bench.clock);
  const std::string infected = tree.file("infected");
  const auto shown = FileIdentity::at(infected);
  ASSERT_TRUE(shown);
  ASSERT_TRUE(allowed.allow(infected, *shown));
  ManualScanServices services = bench.services();
  services.putBackFiles = &allowed;
  ManualScan again(services, bench.seen, &bench.history);
  again.run({infected, tree.file("infected2")});
  const ManualScanResult result = bench.seen.results.last();
  EXPECT_EQ(result.found, 1U);
  EXPECT_EQ(result.allowed, 1U);
  EXPECT_EQ(result.notReached, 0U);
  // It is shown, with what is so of it.
  EXPECT_EQ(of(Verdict::Kind::infected).size(), 2U);
}

TEST_F(ManualScanTest, CountsWhatLiesInTheQuarantineApart) {
  bench.desktop.preferenceStore.set("QuilloQuarantineFiles", true);
  bench.desktop.preferenceStore.set("QuarantineFolder", path("home/link/"));
  tree.file("home/quarantine/infected");
  tree.file("home/clean");
  ASSERT_EQ(symlink("quarantine", path("home/link").c_str()), 0);
  const ManualScanResult result = run({path("home")});
  EXPECT_EQ(result.found, 0U);
  EXPECT_EQ(result.inQuarantine, 1U);
  EXPECT_EQ(result.clean, 1U);
  EXPECT_TRUE(of(Verdict::Kind::infected).empty());
  EXPECT_EQ(bench.history.calls(), (Lines{"began 1", "ended 0"}));
  EXPECT_TRUE(TemporaryFolder::exists(path("home/quarantine/infected")));
}

TEST_F(ManualScanTest, BelievesNoLinkThatAFileLiesInTheQuarantine) {
  bench.desktop.preferenceStore.set("QuarantineFolder", path("quarantine/"));
  tree.files().makeFolder("quarantine");
  const std::string infected = tree.file("infected");
  ASSERT_EQ(symlink(infected.c_str(), path("quarantine/link").c_str()), 0);
  const ManualScanResult result = run({path("quarantine/link")});
  EXPECT_EQ(result.found, 1U);
  EXPECT_EQ(result.inQuarantine, 0U);
}

TEST_F(ManualScanTest, TreatsWhatItFindsAsThePreferencesSay) {
  bench.desktop.preferenceStore.set("QuilloQuarantineFiles", true);
  bench.desktop.preferenceStore.set("QuarantineFolder", path("quarantine/"));
  run({tree.file("infected")});
  ASSERT_EQ(of(Verdict::Kind::infected).size(), 1U);
  EXPECT_EQ(of(Verdict::Kind::infected)[0].whereabouts, Verdict::Whereabouts::moved);
  EXPECT_TRUE(TemporaryFolder::exists(path("quarantine/infected")));
}

TEST_F(ManualScanTest, MovesWhatWasFoundLater) {
  bench.desktop.preferenceStore.set("QuarantineFolder", path("quarantine/"));
  const std::string infected = tree.file("infected");
  scan.moveAway({infected, tree.file("clean")}, InfectedFileAction::quarantine);
  EXPECT_TRUE(TemporaryFolder::exists(path("quarantine/infected")));
  EXPECT_FALSE(TemporaryFolder::exists(infected));
  EXPECT_TRUE(TemporaryFolder::exists(path("clean")));
  EXPECT_EQ(bench.seen.results.last().problem, Problem::none);
}

TEST_F(ManualScanTest, MovesNothingToAQuarantineThatNobodyChose) {
  const std::string infected = tree.file("infected");
  scan.moveAway({infected}, InfectedFileAction::quarantine);
  EXPECT_EQ(bench.seen.results.last().problem, Problem::noQuarantine);
  EXPECT_TRUE(TemporaryFolder::exists(infected));
}

TEST_F(ManualScanTest, SaysThatTheDaemonDoesNotAnswer) {
  tree.endDaemon();
  const ManualScanResult result = run({folderOf(3)});
  EXPECT_EQ(result.problem, Problem::noDaemon);
  EXPECT_EQ(result.clean.value_or(0), 0U);
  EXPECT_GT(result.notScanned, 0U);
}

TEST_F(ManualScanTest, SaysThatThereIsNoEngine) {
  useEngine(path("nowhere/bin/clamdscan"));
  EXPECT_EQ(run({tree.file("clean")}).problem, Problem::noEngine);
}

TEST_F(ManualScanTest, SaysThatPreferencesNameNoEngine) {
  bench.desktop.preferenceStore.remove("PathToClamav");
  EXPECT_EQ(run({tree.file("clean")}).problem, Problem::noEngine);
}

TEST_F(ManualScanTest, SaysThatTheScannerCrashed) {
  useEngine(tree.files().writeProgram("engine/bin/clamdscan", "#!/bin/sh\nkill -9 $$\n"));
  const ManualScanResult result = run({tree.file("clean")});
  EXPECT_EQ(result.problem, Problem::failed);
  EXPECT_EQ(result.notReached, 1U);
}

TEST_F(ManualScanTest, SaysThatThereAreMorePathsThanACommandLineHolds) {
  const Lines paths(40000, "/" + std::string(100, 'x'));
  EXPECT_EQ(run(paths).problem, Problem::tooMany);
}

// A scanner that knows nothing of the channel.
TEST_F(ManualScanTest, ClaimsNoCountOfCleanFilesThatTheScannerDoesNotGive) {
  useEngine(tree.files().writeProgram("engine/bin/clamdscan",
                                      "#!/bin/sh\nfor p; do :; done\n"
                                      "echo \"$p/infected: Threat FOUND\"\nexit 1\n"));
  const ManualScanResult result = run({folderOf(3)});
  EXPECT_EQ(result.clean, std::nullopt);
  EXPECT_EQ(result.found, 1U);
  EXPECT_FALSE(scan.state().canPause);
}

// A scan of a hundred files whose daemon keeps the tenth for itself until it is let go.
class ManualScanUnderWay : public ManualScanTest {
 protected:
  ManualScanUnderWay() {
    tree.daemon([this](const Question& question) -> std::optional<std::string> {
      if (++questions == 10) {
        tenth.set_value();
        answer.get_future().wait();
      }
      return SessionClamd::truth(question);
    });
    bench.threads.start([this, folder = folderOf(100)] { scan.run({folder}); });
    tenth.get_future().wait();
    EXPECT_TRUE(waitFor([this] { return scan.state().canPause && scan.state().all.isWhole; }));
  }
  ~ManualScanUnderWay() override {
    letGo();
    bench.threads.join();
    tree.endDaemon();
  }
  void letGo() {
    if (!std::exchange(hasAnswered, true)) {
      answer.set_value();
    }
  }
  static bool waitFor(const std::function<bool()>& holds) { return awaitThat(holds); }
  ManualScanResult end() {
    letGo();
    EXPECT_TRUE(scan.awaitEnd(longest));
    return bench.seen.results.last();
  }

  std::atomic<int> questions = 0;
  std::promise<void> tenth;
  std::promise<void> answer;
  bool hasAnswered = false;
};

TEST_F(ManualScanUnderWay, KnowsHowMuchThereIs) {
  EXPECT_EQ(scan.state().all.files, 100U);
  EXPECT_EQ(scan.state().phase, Phase::scanning);
  EXPECT_EQ(end().clean, 100U);
  EXPECT_EQ(scan.state().progress.files(), 100U);
  EXPECT_EQ(scan.state().phase, Phase::ended);
}

TEST_F(ManualScanUnderWay, KnowsTheTimeThatIsLeftOnceItHasWorkedForAWhile) {
  EXPECT_TRUE(waitFor([this] { return scan.state().left.has_value(); }));
  EXPECT_GT(scan.state().left->count(), 0);
}

TEST_F(ManualScanUnderWay, PausesOnceWhatIsUnderWayIsDoneAndGoesOn) {
  scan.pause();
  EXPECT_EQ(scan.state().phase, Phase::pausing);
  letGo();
  EXPECT_TRUE(waitFor([this] { return scan.state().phase == Phase::paused; }));
  EXPECT_LE(questions, 21);
  scan.resume();
  EXPECT_EQ(scan.state().phase, Phase::scanning);
  EXPECT_EQ(end().clean, 100U);
}

TEST_F(ManualScanUnderWay, GoesOnAfterAPauseThatWasOverBeforeItBegan) {
  scan.pause();
  scan.resume();
  const ManualScanResult result = end();
  EXPECT_EQ(result.clean, 100U);
}

TEST_F(ManualScanUnderWay, CountsWhatItDidNotComeToWhenItIsStopped) {
  scan.stop();
  EXPECT_TRUE(scan.awaitEnd(longest));
  const ManualScanResult result = bench.seen.results.last();
  EXPECT_TRUE(result.isStopped);
  EXPECT_EQ(result.problem, Problem::none);
  EXPECT_EQ(result.clean.value_or(0) + result.notReached.value_or(0), 100U);
  EXPECT_GT(result.notReached.value_or(0), 70U);
}

TEST_F(ManualScanTest, ThatIsStoppedDoesNotAskAnEngineThatMayHangForItsDefinitions) {
  ManualScanServices services = bench.services();
  services.lacksDefinitions = [] { return true; };
  ManualScan stopped(services, bench.seen, nullptr);
  stopped.stop();
  stopped.run({tree.file("clean")});
  EXPECT_TRUE(bench.seen.results.last().isStopped);
  EXPECT_FALSE(bench.seen.results.last().lacksDefinitions);
}

TEST_F(ManualScanUnderWay, CanBeStoppedWhileItPauses) {
  scan.pause();
  letGo();
  EXPECT_TRUE(waitFor([this] { return scan.state().phase == Phase::paused; }));
  scan.stop();
  EXPECT_TRUE(scan.awaitEnd(longest));
  EXPECT_TRUE(bench.seen.results.last().isStopped);
}

TEST_F(ManualScanTest, CanBeStoppedWhileItWaitsForAFileToHoldStill) {
  ManualClock clock;
  ManualScanServices services = bench.services();
  const ManualScanServices slow{services.application,  clock,
                                services.folders,      services.localizedStrings,
                                services.modifierKeys, services.preferences,
                                services.systemLog,    services.threads,
                                services.volumes,      services.workspace};
  ManualScan waiting(slow, bench.seen, nullptr);
  const std::string file = tree.file("clean");
  bench.threads.start([&] { waiting.run({file}); });
  EXPECT_TRUE(clock.waitUntilParked(1));
  EXPECT_EQ(waiting.state().phase, Phase::waiting);
  waiting.stop();
  EXPECT_TRUE(waiting.awaitEnd(longest));
  bench.threads.join();
  EXPECT_TRUE(bench.seen.results.last().isStopped);
  EXPECT_EQ(tree.daemon().sessions(), 0);
}

}  // namespace
}  // namespace quillo
