#pragma once

#include <functional>
#include <string>

namespace quillo {

// Notices files that leave their places.
class FileDepartures {
 public:
  virtual ~FileDepartures() = default;
  // Calls `hasLeft` on the main thread once soon, and whenever the file may have been moved,
  // removed or replaced, until it returns true. Only a limited number of files is watched, the
  // latest. Any thread.
  virtual void watch(const std::string& path, std::function<bool()> hasLeft) = 0;
};

}  // namespace quillo
