#include <gtest/gtest.h>

#include "tests/fakes/agent/AgentUnderTest.h"
#include "tests/fakes/desktop/FakeMetadataQuery.h"
#include "watchers/SpotlightWatcher.h"

namespace quillo {
namespace {

// A watcher of the index within a whole agent, to which it was added by hand.
class SpotlightInAnAgent : public testing::Test, protected AgentUnderTest {
 protected:
  FakeMetadataQueries queries;
};

TEST_F(SpotlightInAnAgent, ShowsThatItWatchesAndFeedsTheQueue) {
  MenuForWatchers menu(agent().mainMenu());
  PathIntake& intake = agent().parts().intake;
  SpotlightWatcher watcher(queries, desktop.systemLog);
  watcher.setMenuAndParamsAndController({&menu}, intake);
  watcher.addWatcher(home.path());
  EXPECT_FALSE(agent().mainMenu().isCurrentlyWatching());
  queries.last->complete = true;
  queries.last->tell({metadataQueryDidFinish});
  EXPECT_TRUE(agent().mainMenu().isCurrentlyWatching());
  queries.last->tell({metadataQueryDidUpdate, {{"/a", {}, {}}, {"/b", {}, {}}}});
  EXPECT_EQ(agent().theDispatcher().lengthOfBothItemLists(), 2U);
}

TEST_F(SpotlightInAnAgent, HasWatchingRestartedWhenItsFolderIsMissing) {
  MenuForWatchers menu(agent().mainMenu());
  PathIntake& intake = agent().parts().intake;
  agent().applicationDidFinishLaunching();
  const int before = desktop.preferenceStore.synchronizations();
  SpotlightWatcher watcher(queries, desktop.systemLog);
  watcher.setMenuAndParamsAndController({&menu}, intake);
  watcher.addWatcher(home.path() + "/missing");
  EXPECT_GT(desktop.preferenceStore.synchronizations(), before);
}

}  // namespace
}  // namespace quillo
