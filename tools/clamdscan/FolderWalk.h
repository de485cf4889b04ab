#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quillo::front {

// Goes through a folder and all below it, other file systems included, without following links and
// with memory for one path only. One thread.
class FolderWalk {
 public:
  struct Visitor {
    std::function<void(const std::string& path, const struct stat& status)> file;
    // What no walk comes past: not readable, no file, a link to outside of the folder or to nothing
    // (a link to something inside is passed over; what it leads to is met elsewhere).
    std::function<void(const std::string& path, std::string_view reason)> obstacle;
  };

  struct Findings {
    bool lineBreaks = false;  // in some name
    int depth = 0;            // 1 for a folder of the folder
    std::size_t longestPath = 0;
  };

  // `root` is an existing folder's path without symbolic links.
  static Findings through(const std::string& root, const Visitor& visitor);
};

}  // namespace quillo::front
