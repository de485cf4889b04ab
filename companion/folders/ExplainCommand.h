#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "companion/folders/Explanation.h"

namespace quillo {

class LocalizedStrings;

struct ExplainCommandServices {
  ExplanationServices explanation;
  LocalizedStrings& localizedStrings;
  std::string folder;  // in which the program was called; "" when that is unknown
  // Returns "" while the agent watches, else its state, "none" where no agent runs, or "unknown"
  // where it cannot be asked.
  std::function<std::string()> agentState;
};

// `vantrel explain PATH [--json]`, of which `words` are those behind "explain": says whether a file
// is guarded and which rule decides. Returns 0 when it is guarded, 1 when it is not, also for want
// of an agent that watches, and 2 when that cannot be said. The JSON (RFC 8259) is one object; its
// "version" is 1, and grows when what stands there changes its meaning. Its paths are
// reportedText().
int runExplainCommand(const std::vector<std::string>& words, std::ostream& out,
                      std::ostream& errors, const ExplainCommandServices& services);

}  // namespace quillo
