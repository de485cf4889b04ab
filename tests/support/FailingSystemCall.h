#pragma once

#include <functional>

namespace quillo {

// Runs `body` on a thread of its own, for which one system call (its number, syscall(2)) fails with
// `error` and every other works. seccomp(2).
void withFailingSystemCall(int number, int error, const std::function<void()>& body);

}  // namespace quillo
