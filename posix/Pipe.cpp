#include "posix/Pipe.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "posix/PlatformException.h"

namespace quillo {

std::optional<Pipe> Pipe::make() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return std::nullopt;
  }
  Pipe pipe;
  pipe.reader_.reset(ends[0]);
  pipe.writer_.reset(ends[1]);
  return pipe;
}

std::optional<PipeReader> Pipe::fileHandleForReading() {
  if (fcntl(reader_.get(), F_SETFL, O_NONBLOCK) != 0) {
    return std::nullopt;
  }
  return PipeReader(std::move(reader_));
}

PipeReader PipeReader::open(UniqueFd& writer) {
  std::optional<Pipe> pipe = Pipe::make();
  std::optional<PipeReader> reader = pipe ? pipe->fileHandleForReading() : std::nullopt;
  if (!reader) {
    throw PlatformException::ofSystemCall("PipeFailure", "cannot create a pipe", errno);
  }
  writer = pipe->takeWriter();
  return std::move(*reader);
}

std::string PipeReader::availableData() {
  int waiting = 0;
  if (!end_ || ioctl(end_.get(), FIONREAD, &waiting) != 0) {
    atEnd_ = true;
    return {};
  }
  // When nothing stands there the read learns of the end; what arrives just then is taken whole.
  std::string chunk(waiting > 0 ? static_cast<std::size_t>(waiting) : PIPE_BUF, '\0');
  const ssize_t count = readSome(end_.get(), chunk.data(), chunk.size());
  if (count == 0 || (count < 0 && errno != EAGAIN)) {
    atEnd_ = true;
  }
  chunk.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return chunk;
}

}  // namespace quillo
