#pragma once

namespace quillo::tests {

// Runs all tests of the program, or lists them, as root in namespaces of their own (processes,
// mounts, IPC): a root file system that is read-only but for the build's folder "screenshots",
// empty file systems of their own on /tmp, /run and /dev (which has the usual nodes), only their
// own processes in /proc. Everything in it ends with it. Does not return after running them: the
// process ends with their status, 1 if the world cannot be made.
int runAllTestsInOwnWorld(int argc, char** argv);

}  // namespace quillo::tests
