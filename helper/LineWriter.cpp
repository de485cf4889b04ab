#include "helper/LineWriter.h"

#include <poll.h>
#include <unistd.h>

#include "helper/Failure.h"

namespace quillo::helper {

bool LineWriter::add(std::string_view folder, std::string_view name) {
  const size_t length = folder.size() + name.size() + 1;
  if (length > buffer_.size()) return false;
  if (length > buffer_.size() - used_) flush();
  used_ += folder.copy(&buffer_[used_], folder.size());
  if (!name.empty()) used_ += name.copy(&buffer_[used_], name.size());
  buffer_[used_++] = '\n';
  return true;
}

// A pipe that is ready takes PIPE_BUF bytes at once, so that it never is write() that blocks.
void LineWriter::waitForRoom() const {
  std::array<pollfd, 2> waiting{pollfd{fd_, POLLOUT, 0}, pollfd{end_, POLLIN, 0}};
  while (poll(waiting.data(), waiting.size(), -1) < 0) {
    if (errno != EINTR) throw systemFailure("waiting for standard output");
  }
  if (waiting[1].revents != 0) throw ReaderGone();
}

void LineWriter::flush() {
  size_t done = 0;
  while (done < used_) {
    waitForRoom();
    const ssize_t wrote = write(fd_, &buffer_[done], used_ - done);
    if (wrote >= 0) {
      done += static_cast<size_t>(wrote);
    } else if (errno == EPIPE) {
      throw ReaderGone();
    } else if (errno != EINTR && errno != EAGAIN) {
      throw systemFailure("writing to standard output");
    }
  }
  used_ = 0;
}

}  // namespace quillo::helper
