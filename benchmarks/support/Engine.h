#pragma once

#include <string>
#include <vector>

#include "benchmarks/support/Processes.h"

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
// Ends the tree's daemon.
void stopDaemon(const std::string& tree);

// The socket in a daemon's configuration; throws std::runtime_error when it names none.
std::string socketIn(const std::string& configuration);
// What the daemon there says first to a command ("zPING", "zRELOAD"); nothing when none listens.
std::string askDaemon(const std::string& socket, const std::string& command);
// Whether a daemon answers there; waits for the answer for as long as it takes.
bool answers(const std::string& socket);
// Ends the daemon that listens there, if one does, and waits until it has closed its connections.
void quitDaemon(const std::string& socket);
// The bare client on lists of 200 of the paths, two at a time, with that configuration.
ScanCost scanWithClient(const std::string& configuration, const std::vector<std::string>& paths,
                        const std::vector<std::string>& environment, const std::string& scratch,
                        const std::string& log = "/dev/null");

}  // namespace bench
