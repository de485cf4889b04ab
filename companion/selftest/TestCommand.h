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
  // Whether its user has broken it off: the file is removed all the same.
  std::function<bool()> isInterrupted = [] { return false; };
};

// `vantrel test [--json]`: the self-test, each step as it comes; `words` are those behind "test".
// Returns 0 when everything works, 1 when it does not, 2 when it cannot be told or the words are
// wrong. JSON (RFC 8259) comes at the end, as one object:
//   {"version":1,"command":"test","result":"works"|"fails"|"cannotTell","file":PATH,
//    "steps":[{"step":"agent"|"written"|"noticed"|"found"|"removed",
//              "state":"waiting"|"going"|"done"|"failed","words":TEXT}]}
// Its texts are spelled as reportedText() does.
int runTestCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                   const TestCommandServices& services);

}  // namespace quillo
