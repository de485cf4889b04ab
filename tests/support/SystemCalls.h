#pragma once

#include <functional>

namespace quillo {

// Both run `body` on a thread of its own, with filters (seccomp(2)) on one system call of that
// thread's, by its number (syscall(2)), and throw std::runtime_error where that cannot be done.

// The call fails with `error`, and every other works.
void withFailingSystemCall(int number, int error, const std::function<void()>& body);
// The call is interrupted so many times, as by a signal, and works from then on.
void withInterruptedSystemCall(int number, int times, const std::function<void()>& body);

}  // namespace quillo
