#pragma once

#include <string>
#include <unordered_set>

namespace quillo {

struct OpenQuarantine;

// Ends what a crash left half done: confirms what was moved, ends what was restored, and takes away
// records whose file is not there. The records of these names are known to need nothing. Nobody
// else moves or restores anything meanwhile; now and then it lets whoever waits for that begin, and
// leaves the rest for the next time. Returns true when it met anything else.
bool tidyUp(OpenQuarantine& quarantine, const std::unordered_set<std::string>& settled);

}  // namespace quillo
