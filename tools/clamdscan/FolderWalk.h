#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace quillo::wrapper {

// Goes through a folder and all below it, other file systems included, without following links and
// with memory for one path only. One thread.
class FolderWalk {
 public:
  struct Visitor {
    // `name` lies in the folder that is open as `folder`. False ends the walk.
    std::function<bool(int folder, const char* name, const std::string& path)> file;
    // What no walk comes past: not readable, no file, a link to outside of the folder or to nothing
    // (a link to something inside is passed over; what it leads to is met elsewhere).
    std::function<void(const std::string& path, std::string_view reason)> obstacle;
  };

  // `root` is an existing folder's path without symbolic links. Each level keeps one descriptor
  // open, `deepest` at most.
  static constexpr std::size_t usualDepth = 256;
  static void through(const std::string& root, const Visitor& visitor,
                      std::size_t deepest = usualDepth);
};

}  // namespace quillo::wrapper
