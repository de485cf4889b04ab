#pragma once

#include <string>

namespace quillo {

// Runs a command line with the shell and waits for it, for the small chores that are fixed command
// lines; everything else is a ChildProcess. Failures are ignored. Any thread. system(3).
void runShellCommand(const std::string& commandLine);

}  // namespace quillo
