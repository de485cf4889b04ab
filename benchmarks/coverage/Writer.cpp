#include "benchmarks/coverage/Writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <exception>
#include <stdexcept>

#include "benchmarks/support/Processes.h"

namespace bench {
namespace {

void makePipe(quillo::UniqueFd& reading, quillo::UniqueFd& writing) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot make a pipe");
  }
  reading.reset(ends[0]);
  writing.reset(ends[1]);
}

std::string outcomeOf(uid_t user, const std::function<void()>& step) {
  if (setgid(user) != 0 || setuid(user) != 0) {
    return "cannot become another user";
  }
  // What is made has the mode that was asked for.
  umask(0);
  try {
    step();
    return "";
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

std::string readToEnd(int descriptor) {
  std::string text;
  char bytes[512];
  for (ssize_t count = 0; (count = quillo::readSome(descriptor, bytes, sizeof bytes)) > 0;) {
    text.append(bytes, static_cast<std::size_t>(count));
  }
  return text;
}

}  // namespace

Writer::Writer() { makePipe(ending_, open_); }

Writer::~Writer() {
  open_.reset();
  for (const pid_t process : processes_) {
    finish(process);
  }
}

std::string Writer::run(uid_t user, const std::function<void()>& step) {
  quillo::UniqueFd reading;
  quillo::UniqueFd writing;
  makePipe(reading, writing);
  const pid_t process = fork();
  if (process < 0) {
    throw std::runtime_error("cannot fork for a writer");
  }
  if (process == 0) {
    open_.reset();
    reading.reset();
    quillo::writeAll(writing.get(), outcomeOf(user, step));
    writing.reset();
    char byte = 0;
    quillo::readSome(ending_.get(), &byte, 1);
    _exit(0);
  }
  processes_.push_back(process);
  writing.reset();
  return readToEnd(reading.get());
}

}  // namespace bench
