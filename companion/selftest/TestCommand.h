#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "companion/selftest/SelfTest.h"

namespace quillo {

struct TestCommandServices {
  Clock& clock;
  LocalizedStrings& localizedStrings;
  SelfTestEvidence& evidence;
  std::vector<std::string> moveFolders;
  // Returns why the agent cannot be asked at all, in words for the log; "" where it can.
  std::function<std::string()> agentProblem = [] { return std::string(); };
  // Whether its user has broken it off: the file is removed all the same.
  std::function<bool()> isInterrupted = [] { return false; };
};

// `vantrel test [--json]`: the self-test, each step as it comes; `words` are those behind "test".
// Returns 0 when everything works, 1 when it does not, 2 when it cannot be told or the words are
// wrong. With --json there is one document at the end (docs/json.md).
int runTestCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                   const TestCommandServices& services);

}  // namespace quillo
