#pragma once

#include <functional>

namespace quillo {

// Runs `body` on a thread of its own, for which one system call (its number, syscall(2)) is
// interrupted so many times, as by a signal, and works from then on. seccomp_unotify(2).
void withInterruptedSystemCall(int number, int times, const std::function<void()>& body);

}  // namespace quillo
