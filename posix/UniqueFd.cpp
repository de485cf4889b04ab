#include "posix/UniqueFd.h"

#include <unistd.h>

namespace quillo {

void UniqueFd::reset(int descriptor) {
  const int old = std::exchange(descriptor_, descriptor);
  if (old >= 0) {
    close(old);
  }
}

}  // namespace quillo
