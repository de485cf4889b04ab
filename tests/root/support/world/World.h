#pragma once

#include <functional>

namespace quillo::tests {

// Runs `body` as root in namespaces of its own (processes, mounts, IPC): a root file system that is
// read-only but for the build's folder "screenshots", empty file systems of its own on /tmp, /run
// and /dev (which has the usual nodes), only its own processes in /proc. Everything in it ends with
// it. Returns the status of `body`, 1 if the world cannot be made, which is told on standard error.
int runInOwnWorld(const std::function<int()>& body);

}  // namespace quillo::tests
