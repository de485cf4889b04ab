// What the agent answers whoever asks it over the desktop.

#include <gtest/gtest.h>

#include "posix/Version.h"
#include "tests/fakes/agent/AgentUnderTest.h"
#include "tests/fakes/agent/WatchingAgent.h"

namespace quillo {
namespace {

std::int64_t secondsOf(std::chrono::system_clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

class StatusReportTest : public testing::Test, protected AgentUnderTest {
 protected:
  StatusReportTest() {
    desktop.preferenceStore.set("QuilloFolderArray", PreferenceValue{PreferenceArray{
                                                         watchedFolder("~", true),
                                                         watchedFolder("/no/such/folder", true)}});
  }
  void launch() { agent().applicationDidFinishLaunching(); }
  AgentStatus asked() { return desktop.statusPublisher.ask(); }
  StatusBoard& board() { return agent().parts().statusBoard; }
  int changesBy(const std::function<void()>& action) {
    const int before = desktop.statusPublisher.changes;
    action();
    return desktop.statusPublisher.changes - before;
  }
};

TEST_F(StatusReportTest, NamesProgramFoldersAndEngine) {
  launch();
  const AgentStatus status = asked();
  EXPECT_EQ(status.version, 1U);
  EXPECT_EQ(status.program, projectVersion);
  EXPECT_EQ(status.watchedFolders, std::vector<std::string>{home.path() + "/"});
  EXPECT_EQ(status.missingFolders, std::vector<std::string>{"/no/such/folder"});
  EXPECT_EQ(status.engine, engine());
  EXPECT_EQ(status.words, desktop.statusBar.item.toolTip());
}

TEST_F(StatusReportTest, IsThereBeforeTheEngineHasLoaded) {
  daemon.reset();
  home.writeProgram("engine/sbin/clamd", "#!/bin/sh\nexit 0\n");
  std::string meanwhile;
  desktop.application.duringWait = [&] {
    if (meanwhile.empty()) {
      meanwhile = asked().state;
    }
  };
  launch();
  EXPECT_EQ(meanwhile, "starting");
}

TEST_F(StatusReportTest, SaysWhatNeedsAttention) {
  launch();
  board().setEngineMissing(true);
  EXPECT_EQ(asked().attention, "noEngine");
  board().setPreferencesMissing(true);
  EXPECT_EQ(asked().attention, "noPreferences");
  board().setEngineMissing(false);
  board().setEngineFails(true);
  EXPECT_EQ(asked().attention, "engineFails");
}

TEST_F(StatusReportTest, CountsWhatIsScannedAndSinceWhen) {
  launch();
  clock.advance(std::chrono::seconds(100));
  const auto begin = secondsOf(clock.wallTime());
  EXPECT_GT(changesBy([&] { board().runBegan(3); }), 0);
  clock.advance(std::chrono::seconds(10));
  board().runBegan(2);
  EXPECT_EQ(asked().filesBeingScanned, 5U);
  EXPECT_EQ(asked().scanningSince, begin);
  board().runEnded(3);
  EXPECT_GT(changesBy([&] { board().runEnded(2); }), 0);
  EXPECT_EQ(asked().filesBeingScanned, 0U);
  EXPECT_EQ(asked().scanningSince, 0);
}

TEST_F(StatusReportTest, TakesAShortPauseBetweenRunsForNone) {
  launch();
  const auto begin = secondsOf(clock.wallTime());
  board().runBegan(1);
  board().runEnded(1);
  clock.advance(std::chrono::seconds(2));
  board().runBegan(1);
  EXPECT_EQ(asked().scanningSince, begin);
  board().runEnded(1);
  clock.advance(std::chrono::seconds(4));
  board().runBegan(1);
  EXPECT_EQ(asked().scanningSince, begin + 6);
}

TEST_F(StatusReportTest, CountsFindsAndFilesThatWereNotScannedAndNoOthers) {
  launch();
  // Each counts once the history has it.
  const auto give = [&](const char* line) {
    const Verdict verdict = Verdict::parse(line);
    board().verdictGiven(verdict);
    const bool isKept =
        verdict.kind == Verdict::Kind::infected || verdict.kind == Verdict::Kind::notScanned;
    board().historyWritten(isKept ? 1 : 0);
  };
  EXPECT_EQ(changesBy([&] { give("/a: OK"); }), 0);
  EXPECT_GT(changesBy([&] { give("/a: Some.Threat FOUND"); }), 0);
  give("/b: moved to '/c'");
  EXPECT_GT(changesBy([&] { give("/d: Not scanned: too large"); }), 0);
  EXPECT_EQ(asked().verdicts, 2U);
}

TEST_F(StatusReportTest, SaysHowMuchWasFoundLately) {
  launch();
  const auto enter = [&](const std::string& path, HistoryResult::Kind kind) {
    HistoryResult result;
    result.time = clock.wallTime();
    result.path = path;
    result.kind = kind;
    agent().parts().history.add(result);
  };
  enter("/a", HistoryResult::Kind::found);
  enter("/b", HistoryResult::Kind::notScanned);
  enter("/c", HistoryResult::Kind::notScanned);
  agent().parts().history.end({});
  EXPECT_EQ(asked().foundRecently, 1U);
  EXPECT_EQ(asked().notScannedRecently, 2U);
}

TEST_F(StatusReportTest, SaysWhenTheDefinitionsWereBuiltAndWhereTheyLie) {
  launch();
  const auto built = clock.wallTime() - std::chrono::hours(5);
  board().setDefinitionFacts({built, "/definitions"});
  EXPECT_EQ(asked().definitionsBuilt, secondsOf(built));
  EXPECT_EQ(asked().definitionFolder, "/definitions");
}

TEST_F(StatusReportTest, SaysThatAnUpdateRuns) {
  launch();
  EXPECT_GT(changesBy([&] { agent().updateVirusDefs(); }), 0);
  EXPECT_TRUE(asked().updating);
}

TEST_F(StatusReportTest, SaysWhyTheHistoryIsNotKept) {
  launch();
  EXPECT_GT(changesBy([&] { board().setHistoryProblem("the disk is full"); }), 0);
  EXPECT_EQ(asked().historyProblem, "the disk is full");
}

class StatusReportWatching : public WatchingAgent {
 protected:
  AgentStatus asked() { return desktop.statusPublisher.ask(); }
};

TEST_F(StatusReportWatching, FollowsStopAndStart) {
  watch();
  EXPECT_EQ(asked().state, "watching");
  EXPECT_GT(asked().watchingSince, 0);
  agent().stopWatcher();
  EXPECT_EQ(asked().state, "stopped");
  EXPECT_EQ(asked().watchingSince, 0);
  EXPECT_TRUE(asked().watchedFolders.empty());
  agent().startWatcher();
  ASSERT_TRUE(helper.waitForLaunches(1));
  EXPECT_EQ(asked().state, "watching");
}

TEST_F(StatusReportWatching, FollowsSleepAndIsSaidToHaveChanged) {
  watch();
  const int before = desktop.statusPublisher.changes;
  agent().goingToSleep();
  EXPECT_EQ(asked().state, "asleep");
  EXPECT_GT(desktop.statusPublisher.changes, before);
}

TEST_F(StatusReportWatching, KeepsSinceWhenWhateverIsStartedMeanwhile) {
  watch();
  const std::int64_t since = asked().watchingSince;
  clock.advance(std::chrono::hours(1));
  agent().startWatcher();
  EXPECT_EQ(asked().watchingSince, since);
}

}  // namespace
}  // namespace quillo
