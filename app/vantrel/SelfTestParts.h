#pragma once

#include <string>
#include <vector>

#include "companion/selftest/AgentEvidence.h"
#include "companion/selftest/RecordedFinds.h"
#include "companion/selftest/SelfTestView.h"

namespace quillo {

struct CompanionParts;

// What a self-test goes by. Main thread.
struct SelfTestParts {
  // `asksEachTime` where nothing says that the agent has changed.
  SelfTestParts(CompanionParts& parts, bool asksEachTime);

  RecordedFinds finds;
  AgentEvidence evidence;
};

// Returns what a page needs for the test; both have to outlive it.
SelfTestServices selfTestServices(CompanionParts& parts, SelfTestParts& selfTest);
// Returns the folders to which found files are moved, with what is noted of them.
std::vector<std::string> moveFoldersOf(const CompanionParts& parts);

}  // namespace quillo
