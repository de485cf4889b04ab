#pragma once

#include <string>

namespace quillo {

// The desktop's trash folders, one a volume. Any thread.
class TrashFolders {
 public:
  virtual ~TrashFolders() = default;
  // Whether the path lies inside the trash of the volume that holds it; false also when that cannot
  // be told. Judged by the path alone: nothing of that name need exist.
  virtual bool isEnclosedByTrash(const std::string& path) = 0;
};

}  // namespace quillo
