// What the commands of the main application learn on a desktop: from the agent, from the stores.

#include <gtest/gtest.h>

#include <filesystem>

#include "history/HistoryReader.h"
#include "posix/Version.h"
#include "tests/desktop/support/bus/BusConnection.h"
#include "tests/desktop/support/session/VantrelOnDesktop.h"

namespace quillo {
namespace {

class VantrelCommands : public VantrelOnDesktop {
 protected:
  bool hasSaid(const Ended& ended, const std::string& words) {
    return ended.said.find(words) != std::string::npos;
  }
  // Has the name of the agent, and answers nobody.
  StandInService silentAgent() { return {session.busAddress(), "org.vantrel.VantrelQuillo"}; }

  const std::string state = session.homeFolder() + "/.local/state/vantrel";
};

TEST_F(VantrelCommands, DoctorSaysThatTheHistoryIsDamaged) {
  std::filesystem::create_directories(state);
  std::ofstream(state + "/history.sqlite") << std::string(4096, 'x');
  const Ended damaged = run({"doctor"});
  EXPECT_TRUE(hasSaid(damaged, "The history is damaged")) << damaged.said;
  std::filesystem::remove(state + "/history.sqlite");
  const Ended none = run({"doctor"});
  EXPECT_FALSE(hasSaid(none, "The history is damaged")) << none.said;
}

TEST_F(VantrelCommands, TestSaysThatTheAgentSpeaksNoSense) {
  const StandInService agent(session.busAddress(), "org.vantrel.VantrelQuillo");
  const Ended ended = run({"test"});
  EXPECT_EQ(ended.status, 2);
  EXPECT_TRUE(hasSaid(ended, "Vantrel Quillo could not be asked")) << ended.said;
}

TEST_F(VantrelCommands, ExplainSaysThatNobodyWatchesWhatIsToBeGuarded) {
  const std::string folder = makeFolder();
  makeEngine();
  std::ofstream(preferences(), std::ios::app)
      << "[[QuilloFolderArray]]\npathName = \"" << folder << "\"\nWatchSubdirs = true\n";
  const Ended ended = run({"explain", folder + "/letter"});
  EXPECT_EQ(ended.status, 1) << ended.said;
  EXPECT_TRUE(hasSaid(ended, "does not watch just now")) << ended.said;
}

TEST_F(VantrelCommands, PlannedScansAreKeptAsSuch) {
  makeEngine();
  const std::string folder = makeFolder();
  run({"scan", "--planned", "letters", "--", folder});
  run({"scan", folder});
  HistoryReader history(state);
  history.open();
  const HistorySelection all = history.selectRuns();
  ASSERT_EQ(all.count(), 2U);
  EXPECT_EQ(history.runs(all, 0, 1).at(0).source, ScanSource::byHand);
  EXPECT_EQ(history.runs(all, 1, 1).at(0).source, ScanSource::planned);
}

// It could not press a button of its own.
TEST_F(VantrelCommands, FindOfAPlannedScanIsShownByAnAgentOfThisVersion) {
  makeEngine();
  const std::string folder = makeFolder();
  std::ofstream(session.homeFolder() + "/engine/bin/clamdscan")
      << "#!/bin/sh\necho '" << folder << "/letter: Test.Threat FOUND'\nexit 1\n";
  const StandInService agent(
      session.busAddress(), "org.vantrel.VantrelQuillo",
      StandInService::Answers{{"Status", std::string("({'version': <uint32 1>, 'program': <'") +
                                             projectVersion + "'>, 'state': <'watching'>},)"}});
  BusMonitor bus(session.busAddress());
  EXPECT_EQ(run({"scan", "--planned", "letters", "--", folder}).status, 1);
  EXPECT_TRUE(bus.hears("VantrelPlannedScanFound", "The planned scan found something"));
}

}  // namespace
}  // namespace quillo
