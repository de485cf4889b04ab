#pragma once

#include <functional>
#include <string>

namespace quillo {

// Tells of files that leave their places.
class FileDepartures {
 public:
  virtual ~FileDepartures() = default;
  // From now on asks `hasLeft` whenever the file may have been moved, removed or replaced, and once
  // soon after this call; when it says yes, or with the program, that ends. Only so many files are
  // looked after, the latest. Any thread; `hasLeft` is called on the main thread.
  virtual void watch(const std::string& path, std::function<bool()> hasLeft) = 0;
};

}  // namespace quillo
