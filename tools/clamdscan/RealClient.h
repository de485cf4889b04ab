#pragma once

#include <string>
#include <vector>

#include "tools/clamdscan/CommandLine.h"
#include "tools/clamdscan/Report.h"
#include "tools/clamdscan/Starter.h"
#include "tools/clamdscan/TreeSettings.h"

namespace quillo::wrapper {

// The distribution's client, which does what this program does not: daemons over TCP, streams,
// options of its own.

// Returns true when what was asked is for that client.
bool isForRealClient(const TreeSettings& tree, const CommandLine& asked);
// This process becomes that client, with the tree's configuration, and ends with the thread of
// `starter` that runs it, if there is one. Returns only when it cannot, after reporting that;
// throws Starter::Gone.
void becomeRealClient(const TreeSettings& tree, const CommandLine& asked,
                      const std::vector<std::string>& words, Report& report,
                      const Starter* starter);

}  // namespace quillo::wrapper
