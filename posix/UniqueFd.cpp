#include "posix/UniqueFd.h"

#include <unistd.h>

#include <cerrno>

namespace quillo {

void UniqueFd::reset(int descriptor) {
  const int old = std::exchange(descriptor_, descriptor);
  if (old >= 0) {
    close(old);
  }
}

ssize_t readSome(int descriptor, char* bytes, std::size_t most) {
  for (;;) {
    const ssize_t count = read(descriptor, bytes, most);
    if (count >= 0 || errno != EINTR) {
      return count;
    }
  }
}

bool writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  return true;
}

}  // namespace quillo
