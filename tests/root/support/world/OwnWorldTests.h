#pragma once

namespace quillo::tests {

// Runs all tests of the program as root in a world of their own (World.h), or lists them. Does not
// return after running them: the process ends with their status.
int runAllTestsInOwnWorld(int argc, char** argv);

}  // namespace quillo::tests
