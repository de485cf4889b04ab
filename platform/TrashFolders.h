#pragma once

#include <string>

namespace quillo {

// The desktop's trash folders, one a volume. Any thread.
class TrashFolders {
 public:
  virtual ~TrashFolders() = default;
  // Returns whether the path lies inside the trash of the volume that holds it; false also when
  // that is unknown. Judged by the path alone, which need not exist.
  virtual bool isEnclosedByTrash(const std::string& path) = 0;
};

}  // namespace quillo
