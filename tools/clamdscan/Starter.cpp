#include "tools/clamdscan/Starter.h"

namespace quillo::wrapper {

void Starter::checkPolled(const Watched& polled) {
  for (const pollfd& one : polled) {
    if ((one.revents & (POLLHUP | POLLERR)) != 0) {
      throw Gone();
    }
  }
}

void Starter::check() const {
  Watched polled = watched_;
  if (poll(polled.data(), polled.size(), 0) > 0) {
    checkPolled(polled);
  }
}

}  // namespace quillo::wrapper
