#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "posix/PathOpening.h"
#include "posix/UniqueFd.h"

namespace quillo::wrapper {

// Returns strerror(3) in the tone of a reason: "permission denied".
std::string reasonText(int error);
// Returns why a file of this type cannot be scanned: "named pipe", "socket", "device".
std::string typeText(mode_t mode);

// lstat(2) for a path of any length. Returns 0 or an errno.
int statusOf(const std::string& path, struct stat& status);
// Returns where an opened file stands now; "" when the path is too long to be known.
std::string pathOf(int descriptor);

// Goes through a folder and all below it, other file systems included, without following links and
// with memory for one path only. One thread.
class FolderWalk {
 public:
  struct Visitor {
    // Is shown `name` in the folder that is open as `folder`; ends the walk by returning false.
    std::function<bool(int folder, const char* name, const std::string& path)> file;
    // Is shown what no walk comes past: not readable, no file, a link to outside of the folder or
    // to nothing (a link to something inside is passed over; what it leads to is met elsewhere).
    std::function<void(const std::string& path, std::string_view reason)> obstacle;
  };

  // Walks through `root`, an existing folder's path without symbolic links. Each level keeps one
  // descriptor open, `deepest` at most.
  static constexpr std::size_t usualDepth = 256;
  static void through(const std::string& root, const Visitor& visitor,
                      std::size_t deepest = usualDepth);
};

}  // namespace quillo::wrapper
