#include <gtest/gtest.h>

#include "tests/fakes/AgentUnderTest.h"
#include "tests/fakes/FakeMetadataQuery.h"
#include "watchers/SpotlightWatcher.h"

namespace quillo {
namespace {

// A watcher of the index within a whole agent, to which it was added by hand.
class SpotlightInAnAgent : public testing::Test, protected AgentUnderTest {
 protected:
  FakeMetadataQueries queries;
};

TEST_F(SpotlightInAnAgent, ShowsThatItWatchesAndFeedsTheQueue) {
  MenuForWatchers menu(*throbber);
  WatcherOwner& owner = agent().parts().watcherLink;
  SpotlightWatcher watcher(queries, desktop.systemLog);
  watcher.setMenuAndParamsAndController({&menu}, owner);
  watcher.addWatcher(home.path());
  EXPECT_FALSE(agent().mainMenu().isCurrentlyWatching());
  queries.last->complete = true;
  queries.last->tell({metadataQueryDidFinish});
  EXPECT_TRUE(agent().mainMenu().isCurrentlyWatching());
  queries.last->tell({metadataQueryDidUpdate, {{"/a", {}, {}}, {"/b", {}, {}}}});
  EXPECT_EQ(agent().theDispatcher().lengthOfBothItemLists(), 2U);
}

TEST_F(SpotlightInAnAgent, HasWatchingRestartedWhenItsFolderIsMissing) {
  MenuForWatchers menu(*throbber);
  WatcherOwner& owner = agent().parts().watcherLink;
  agent().applicationDidFinishLaunching();
  const int before = desktop.preferenceStore.synchronizations();
  SpotlightWatcher watcher(queries, desktop.systemLog);
  watcher.setMenuAndParamsAndController({&menu}, owner);
  watcher.addWatcher(home.path() + "/missing");
  EXPECT_GT(desktop.preferenceStore.synchronizations(), before);
}

}  // namespace
}  // namespace quillo
