#pragma once

#include <string>
#include <vector>

namespace quillo {

// Where this desktop mounts volumes. Constant while the program runs; any thread.
class Volumes {
 public:
  virtual ~Volumes() = default;
  // Folders, without a "/" at their end, whose direct children are the roots of mounted volumes.
  virtual std::vector<std::string> volumeFolders() const = 0;
};

}  // namespace quillo
