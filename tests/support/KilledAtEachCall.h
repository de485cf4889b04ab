#pragma once

#include <functional>

namespace quillo {

// Runs `body` in a child process that is killed (SIGKILL) when it is about to make its first system
// call, then anew in one that is killed at its second, and so on until one comes to its end.
// `prepare` is called before each child, `examine` after it, in this process. Returns how many were
// killed. Throws std::system_error when a child cannot be traced. One thread. ptrace(2).
int killedAtEachCall(const std::function<void()>& prepare, const std::function<void()>& body,
                     const std::function<void()>& examine);

}  // namespace quillo
