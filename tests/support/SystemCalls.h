#pragma once

#include <functional>

namespace quillo {

// Those with a `body` run it on a thread of its own, with filters (seccomp(2)) on one system call
// of that thread's, by its number (syscall(2)). All throw std::runtime_error where that cannot be
// done.

// The call fails with `error`, and every other works.
void withFailingSystemCall(int number, int error, const std::function<void()>& body);
// Likewise on the caller's own thread, from now on and for good.
void failSystemCallFromNowOn(int number, int error);
// The call is interrupted so many times, as by a signal, and works from then on.
void withInterruptedSystemCall(int number, int times, const std::function<void()>& body);

}  // namespace quillo
