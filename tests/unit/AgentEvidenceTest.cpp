#include <gtest/gtest.h>

#include "companion/selftest/AgentEvidence.h"
#include "platform/AgentLink.h"

namespace quillo {
namespace {

struct StatedAgent final : AgentLink {
  std::optional<AgentStatus> status() const override { return said; }
  AgentPresence presence() const override {
    return said ? AgentPresence::answering : withoutStatus;
  }
  void observe(std::function<void()>) override {}
  Wording refresh() override {
    ++refreshes;
    return {};
  }
  bool start() override { return true; }
  AgentStart lastStart() const override { return {}; }
  std::optional<AgentStatus> said;
  AgentPresence withoutStatus = AgentPresence::absent;
  int refreshes = 0;
};

class AgentEvidenceTest : public testing::Test {
 protected:
  SelfTestEvidence::Facts factsIn(const std::string& state) {
    agent.said.emplace();
    agent.said->state = state;
    agent.said->watchedFolders = {"/flat/", "/whole/"};
    agent.said->filesBeingScanned = 3;
    agent.said->verdicts = 9;
    return evidence(false).facts();
  }
  AgentEvidence evidence(bool asksEachTime) {
    return AgentEvidence({agent, [](const std::string& folder) { return folder == "/whole/"; },
                          [](const std::string& path, std::int64_t) {
                            return std::optional(SelfTestEvidence::Find{path, {}, ""});
                          },
                          asksEachTime});
  }
  StatedAgent agent;
};

TEST_F(AgentEvidenceTest, IsWhatTheAgentSays) {
  using Agent = SelfTestEvidence::Agent;
  EXPECT_EQ(factsIn("watching").agent, Agent::watching);
  EXPECT_EQ(factsIn("watching").otherFolders, std::vector<std::string>{"/flat/"});
  EXPECT_EQ(factsIn("starting").agent, Agent::starting);
  for (const char* state : {"stopped", "asleep", "quitting", "of a later version"}) {
    EXPECT_EQ(factsIn(state).agent, Agent::stopped) << state;
  }
  EXPECT_EQ(factsIn("watching").filesBeingScanned, 3U);
  EXPECT_EQ(factsIn("watching").verdicts, 9U);
}

TEST_F(AgentEvidenceTest, LeavesOutFoldersInWhichNothingIsNoticed) {
  EXPECT_EQ(factsIn("watching").watchedFolders, std::vector<std::string>{"/whole/"});
}

TEST_F(AgentEvidenceTest, IsNothingWhereNoAgentCanBeAsked) {
  EXPECT_EQ(evidence(false).facts().agent, SelfTestEvidence::Agent::absent);
}

TEST_F(AgentEvidenceTest, TakesAnAgentThatHasNotAnsweredYetForOneThatStarts) {
  using Agent = SelfTestEvidence::Agent;
  for (const auto& [presence, expected] : {std::pair{AgentPresence::unknown, Agent::starting},
                                           {AgentPresence::beginning, Agent::starting},
                                           {AgentPresence::silent, Agent::starting},
                                           {AgentPresence::foreign, Agent::absent}}) {
    agent.withoutStatus = presence;
    EXPECT_EQ(evidence(false).facts().agent, expected);
  }
}

TEST_F(AgentEvidenceTest, IsAskedForAnewWhereNobodySaysThatItChanged) {
  evidence(false).facts();
  EXPECT_EQ(agent.refreshes, 0);
  evidence(true).facts();
  EXPECT_EQ(agent.refreshes, 1);
}

TEST_F(AgentEvidenceTest, HasTheFindThatWasRecorded) {
  EXPECT_EQ(evidence(false).findOf("/whole/x", 0)->threat, "/whole/x");
}

}  // namespace
}  // namespace quillo
