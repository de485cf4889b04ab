#include "tests/support/StdoutCapture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

namespace quillo {
namespace {

void flush() {
  std::fflush(stdout);
  std::fflush(stderr);
}

}  // namespace

RestoredOutput::RestoredOutput() : output_(dup(STDOUT_FILENO)), error_(dup(STDERR_FILENO)) {}

void RestoredOutput::restore() {
  flush();
  dup2(output_.get(), STDOUT_FILENO);
  dup2(error_.get(), STDERR_FILENO);
}

StdoutCapture::StdoutCapture() : file_(memfd_create("captured output", MFD_CLOEXEC)) {
  flush();
  dup2(file_.get(), STDOUT_FILENO);
  dup2(file_.get(), STDERR_FILENO);
  // As it is with a file from the start, also when the tests run in a terminal.
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
}

std::string StdoutCapture::text() {
  flush();
  return written();
}

std::string StdoutCapture::written() const {
  std::string contents(static_cast<std::size_t>(lseek(file_.get(), 0, SEEK_END)), '\0');
  [[maybe_unused]] const ssize_t count = pread(file_.get(), contents.data(), contents.size(), 0);
  return contents;
}

}  // namespace quillo
