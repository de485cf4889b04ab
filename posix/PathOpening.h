#pragma once

#include <string_view>

#include "posix/UniqueFd.h"

namespace quillo {

// open(2), also for paths that are longer than PATH_MAX, close-on-exec and never waiting for the
// other end of a pipe or for a device; the second refuses every symbolic link on the way
// (openat2(2)). Return no descriptor and set errno on failure. Any thread.
UniqueFd openPath(std::string_view path, int flags);
UniqueFd openWithoutLinks(std::string_view path, int flags);

}  // namespace quillo
