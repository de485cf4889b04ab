#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/Folders.h"
#include "platform/linux/names/LinuxVolumes.h"
#include "platform/linux/services/Environment.h"

namespace quillo {

// The trash folders that freedesktop.org agreed on (Trash 1.0): $XDG_DATA_HOME/Trash, and on
// every other volume .Trash/<uid> or .Trash-<uid> at its top; besides, ~/.Trash.
class LinuxTrashFolders final : public TrashFolders {
 public:
  LinuxTrashFolders(const Environment& environment, const std::string& home, uid_t user);

  bool isEnclosedByTrash(const std::string& path) override;

 private:
  const std::vector<std::string> homeTrashes_;
  const std::vector<std::string> volumeTrashes_;
  MountPoints mountPoints_;
};

}  // namespace quillo
