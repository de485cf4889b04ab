#include "companion/selftest/AgentEvidence.h"

#include "platform/AgentLink.h"

namespace quillo {
namespace {

SelfTestEvidence::Agent agentIn(const std::string& state) {
  using Agent = SelfTestEvidence::Agent;
  if (state == "watching") {
    return Agent::watching;
  }
  return state == "starting" ? Agent::starting : Agent::stopped;
}

// One that runs and has not answered yet may do so any moment.
SelfTestEvidence::Agent agentWithoutStatus(AgentPresence presence) {
  using Agent = SelfTestEvidence::Agent;
  const bool isNone = presence == AgentPresence::absent || presence == AgentPresence::foreign;
  return isNone ? Agent::absent : Agent::starting;
}

}  // namespace

SelfTestEvidence::Facts AgentEvidence::facts() {
  if (services_.asksEachTime) {
    services_.agent.refresh();
  }
  const auto status = services_.agent.status();
  Facts facts;
  if (!status) {
    facts.agent = agentWithoutStatus(services_.agent.presence());
    return facts;
  }
  facts.agent = agentIn(status->state);
  facts.filesBeingScanned = status->filesBeingScanned;
  facts.verdicts = status->verdicts;
  for (const std::string& folder : status->watchedFolders) {
    (services_.yieldsFiles(folder) ? facts.watchedFolders : facts.otherFolders).push_back(folder);
  }
  return facts;
}

}  // namespace quillo
