#pragma once

#include <sys/types.h>

#include <string>

namespace quillo {

// How much of a busy machine a private daemon takes: what its user works with goes first, and on
// an idle machine it is as fast as ever.

// The niceness (sched(7)) of a daemon that has loaded. One of less weight than others has is
// scheduled all the same: 36 parts beside their 1024.
inline constexpr int daemonNiceness = 15;

// Takes weight from every thread of the process group that `leader` leads, for the processor, also
// where the kernel weighs sessions and not processes (sched(7), autogroup), and for the disks
// (ioprio_set(2), the least of the best-effort class). Returns why that failed; "" when it did not.
// Any thread.
std::string giveWay(pid_t leader);

}  // namespace quillo
