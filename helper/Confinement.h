#pragma once

namespace quillo::helper {

// Installs the system call filter (seccomp(2)) of the process that marks file systems, or of the
// one that reads events, for the process that calls it. What neither ever asks for ends the process
// at once (SIGSYS): a program, a file to write, a signal to another process, a socket but AF_UNIX,
// executable memory, and more of that kind. Whatever else is not on the list fails with EPERM.
// Builds with tests have the kernel log both. Throws std::system_error. Does nothing in a build
// with sanitizers, whose run time needs more.
void confineReader();
// `mayOpenFileSystems`: fsopen(2) and what belongs to it are on the list.
void confineMarker(bool mayOpenFileSystems);

}  // namespace quillo::helper
