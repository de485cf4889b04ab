#pragma once

#include <string>

namespace quillo {

// Where this desktop mounts volumes.
class Volumes {
 public:
  virtual ~Volumes() = default;
  // Returns whether the path, without a "/" at its end, is the root folder of a volume: a direct
  // child of "/Volumes", or where this desktop has mounted one. Quick; any thread.
  virtual bool isVolumeRoot(const std::string& path) = 0;
};

}  // namespace quillo
