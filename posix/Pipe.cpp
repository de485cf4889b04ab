#include "posix/Pipe.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "posix/PlatformException.h"

namespace quillo {

PipeReader PipeReader::open(UniqueFd& writer) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw PlatformException("PipeFailure",
                            std::string("cannot create a pipe: ") + std::strerror(errno));
  }
  PipeReader reader;
  reader.end_.reset(ends[0]);
  writer.reset(ends[1]);
  fcntl(ends[0], F_SETFL, O_NONBLOCK);
  return reader;
}

std::string PipeReader::availableData() {
  int waiting = 0;
  if (!end_ || ioctl(end_.get(), FIONREAD, &waiting) != 0) {
    atEnd_ = true;
    return {};
  }
  // When nothing stands there the read learns of the end; what arrives just then is taken whole.
  std::string chunk(waiting > 0 ? static_cast<std::size_t>(waiting) : PIPE_BUF, '\0');
  ssize_t count;
  do {
    count = read(end_.get(), chunk.data(), chunk.size());
  } while (count < 0 && errno == EINTR);
  if (count == 0 || (count < 0 && errno != EAGAIN)) {
    atEnd_ = true;
  }
  chunk.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return chunk;
}

}  // namespace quillo
