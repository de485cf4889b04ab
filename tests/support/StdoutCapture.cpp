#include "tests/support/StdoutCapture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

namespace quillo {

StdoutCapture::StdoutCapture()
    : savedStdout_(dup(STDOUT_FILENO)),
      savedStderr_(dup(STDERR_FILENO)),
      file_(memfd_create("captured output", MFD_CLOEXEC)) {
  std::fflush(stdout);
  std::fflush(stderr);
  dup2(file_, STDOUT_FILENO);
  dup2(file_, STDERR_FILENO);
  // As it is with a file from the start, also when the tests run in a terminal.
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
}

StdoutCapture::~StdoutCapture() {
  std::fflush(stdout);
  std::fflush(stderr);
  dup2(savedStdout_, STDOUT_FILENO);
  dup2(savedStderr_, STDERR_FILENO);
  close(savedStdout_);
  close(savedStderr_);
  close(file_);
}

std::string StdoutCapture::text() {
  std::fflush(stdout);
  std::fflush(stderr);
  return written();
}

std::string StdoutCapture::written() const {
  std::string contents(static_cast<std::size_t>(lseek(file_, 0, SEEK_END)), '\0');
  [[maybe_unused]] const ssize_t count = pread(file_, contents.data(), contents.size(), 0);
  return contents;
}

}  // namespace quillo
