#pragma once

#include <string>
#include <vector>

#include "benchmarks/storm/Processes.h"

namespace bench {

// The bare engine on the same files: runs of 200 paths, two at a time. Needs the daemon of the tree
// to run. Gives the time from the first start to the last end.
Seconds scanWithBareEngine(const std::string& tree, const std::vector<std::string>& paths,
                           const std::vector<std::string>& environment, const std::string& scratch);
// Starts the tree's daemon and waits until it has loaded; stopDaemon() ends it.
void startDaemon(const std::string& tree, const std::vector<std::string>& environment);
void stopDaemon(const std::string& tree);

}  // namespace bench
