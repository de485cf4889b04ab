#include <gtest/gtest.h>

#include "companion/definitions/DefinitionUpdate.h"
#include "companion/start/EngineDefinitions.h"
#include "tests/fakes/desktop/FakeAgentLink.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class EngineDefinitionsTest : public testing::Test {
 protected:
  EngineDefinitionsTest() {
    definitions.observe([this] { ++changes; });
  }
  void become(const std::function<void(AgentStatus&)>& change) {
    AgentStatus status = FakeAgentLink::watching("1");
    change(status);
    agent.become(status);
  }

  FakePlatform desktop;
  FakeThreads threads;
  PassingClock clock;
  FakeAgentLink agent;
  DefinitionUpdate update{{desktop.application, threads, desktop.preferences}};
  EngineDefinitions definitions{
      {agent, clock, update, desktop.localizedStrings, desktop.preferences}};
  int changes = 0;
};

TEST_F(EngineDefinitionsTest, AreThoseThatAreThere) {
  const FirstDefinitions::State state = definitions.state();
  EXPECT_FALSE(state.runs);
  EXPECT_EQ(state.words, "<OVERVIEW_DEFINITIONS_UNKNOWN>");
}

TEST_F(EngineDefinitionsTest, SayThatAnUpdateRuns) {
  const TemporaryFolder engine;
  engine.write("bin/freshclam");
  desktop.preferenceStore.set("PathToClamav", engine.path().c_str());
  definitions.start();
  EXPECT_EQ(changes, 1);
  EXPECT_TRUE(definitions.state().runs);
  EXPECT_EQ(definitions.state().words, "<OVERVIEW_UPDATE_RUNS>");
}

TEST_F(EngineDefinitionsTest, SayWhatAnUpdateCameTo) {
  definitions.start();
  EXPECT_FALSE(definitions.state().runs);
  EXPECT_EQ(definitions.state().words,
            "<OVERVIEW_DEFINITIONS_UNKNOWN>\n<OVERVIEW_UPDATE_NO_ENGINE>");
}

TEST_F(EngineDefinitionsTest, SayThatTheAgentUpdatesThem) {
  become([](AgentStatus& status) { status.updating = true; });
  EXPECT_EQ(changes, 1);
  EXPECT_TRUE(definitions.state().runs);
}

TEST_F(EngineDefinitionsTest, AreNoOthersBecauseTheAgentScans) {
  become([](AgentStatus&) {});
  changes = 0;
  become([](AgentStatus& status) { status.filesBeingScanned = 5; });
  EXPECT_EQ(changes, 0);
}

}  // namespace
}  // namespace quillo
