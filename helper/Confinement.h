#pragma once

namespace quillo::helper {

// Installs the system call filter (seccomp(2)) of the process that marks file systems, or of the
// one that reads events. What is not on the list fails with EPERM. Throws std::system_error. Does
// nothing in a build with sanitizers, whose run time needs more.
void confineMarker();
void confineReader();

}  // namespace quillo::helper
