#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "posix/UniqueFd.h"

namespace quillo::wrapper {

// strerror(3) in the tone of a reason: "permission denied".
std::string reasonText(int error);
// Why a file of this type cannot be scanned: "named pipe", "socket", "device".
std::string typeText(mode_t mode);

// open(2), also for paths that are longer than PATH_MAX, close-on-exec and never waiting for the
// other end of a pipe or for a device. No descriptor and errno on failure. Any thread.
UniqueFd openPath(std::string_view path, int flags);
// The same, but refusing every symbolic link on the way (openat2(2)).
UniqueFd openWithoutLinks(std::string_view path, int flags);
// lstat(2) for a path of any length: 0 or an errno.
int statusOf(const std::string& path, struct stat& status);
// Where an opened file stands now, or "" when the path is too long to be told.
std::string pathOf(int descriptor);

}  // namespace quillo::wrapper
