#pragma once

#include <string>
#include <vector>

#include "benchmarks/storm/Processes.h"

namespace bench {

// What a client took for some files, in runs of 200 paths, two at a time.
struct ScanCost {
  Seconds time{};       // from the first start to the last end
  Seconds processor{};  // of the client itself
};
// The distribution's client, and the tree's own with the same lists. Both need the daemon of the
// tree to run.
ScanCost scanWithBareEngine(const std::string& tree, const std::vector<std::string>& paths,
                            const std::vector<std::string>& environment,
                            const std::string& scratch);
ScanCost scanWithTree(const std::string& tree, const std::vector<std::string>& paths,
                      const std::vector<std::string>& environment, const std::string& scratch);
// Starts the tree's daemon and waits until it has loaded; stopDaemon() ends it.
void startDaemon(const std::string& tree, const std::vector<std::string>& environment);
void stopDaemon(const std::string& tree);

}  // namespace bench
