#pragma once

#include <string>
#include <vector>

#include "tools/clamdscan/CommandLine.h"
#include "tools/clamdscan/EngineTree.h"
#include "tools/clamdscan/Report.h"

namespace quillo::front {

// The distribution's client, which does what this program does not: daemons over TCP, streams,
// options of its own.

// Whether what was asked is for it.
bool isForRealClient(const EngineTree& tree, const CommandLine& asked);
// This process becomes that client, with the tree's configuration. It ends with the starter if
// `endsWithStarter`. Returns only when it cannot, which has been said then.
void becomeRealClient(const EngineTree& tree, const CommandLine& asked,
                      const std::vector<std::string>& words, Report& report, bool endsWithStarter);

}  // namespace quillo::front
