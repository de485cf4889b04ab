#include <algorithm>
#include <exception>
#include <iterator>

#include "companion/doctor/Finding.h"
#include "posix/Version.h"

namespace quillo {
namespace {

using Sign = Finding::Sign;

struct Check {
  const char* name;
  std::vector<Finding> (*run)(const DoctorServices&, const DoctorFacts&);
};

constexpr Check checks[] = {
    {"agent", examineAgent},   {"engine", examineEngine},     {"definitions", examineDefinitions},
    {"helper", examineHelper}, {"folder", examineFolders},    {"files", examineFiles},
    {"space", examineSpace},   {"apparmor", examineProfiles}, {"desktop", examineDesktop}};

}  // namespace

std::vector<Finding> examine(const DoctorServices& services, const DoctorFacts& facts) {
  std::vector<Finding> findings;
  for (const Check& check : checks) {
    try {
      std::vector<Finding> more = check.run(services, facts);
      std::move(more.begin(), more.end(), std::back_inserter(findings));
    } catch (const std::exception& failure) {
      findings.push_back(
          {check.name, "", Sign::unknown, {"DOCTOR_CHECK_FAILED", {check.name, failure.what()}}});
    }
  }
  return findings;
}

std::vector<Finding> examineAgent(const DoctorServices& services, const DoctorFacts& facts) {
  const auto found = [](Sign sign, Wording sentence, Wording remedy = {}) {
    return std::vector<Finding>{{"agent", "", sign, std::move(sentence), std::move(remedy)}};
  };
  if (!facts.agent && !facts.agentProblem.empty()) {
    return found(Sign::unknown, {"DOCTOR_AGENT_UNKNOWN", {facts.agentProblem.in(services.strings)}},
                 {"DOCTOR_AGENT_UNKNOWN_REMEDY"});
  }
  if (!facts.agent) {
    return found(Sign::problem, {"DOCTOR_AGENT_NONE"}, {"DOCTOR_AGENT_NONE_REMEDY"});
  }
  const AgentStatus& agent = *facts.agent;
  const bool isUnderstood = agent.version <= AgentStatus::currentVersion;
  if (isUnderstood && agent.state != "watching" && agent.state != "starting") {
    return found(Sign::problem, {"DOCTOR_AGENT_IDLE", {agent.program}},
                 {"DOCTOR_AGENT_IDLE_REMEDY"});
  }
  if (!isUnderstood || agent.program != projectVersion) {
    return found(isUnderstood ? Sign::warning : Sign::unknown,
                 {"DOCTOR_AGENT_OTHER", {agent.program, projectVersion}},
                 {"DOCTOR_AGENT_OTHER_REMEDY"});
  }
  return found(Sign::good, {"DOCTOR_AGENT_GOOD", {agent.program}});
}

}  // namespace quillo
