#pragma once

#include <sys/types.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/TrashFolders.h"
#include "platform/linux/services/Environment.h"
#include "posix/MountTable.h"
#include "posix/Mutex.h"

namespace quillo {

// The trash folders that freedesktop.org agreed on (Trash 1.0): $XDG_DATA_HOME/Trash, and on
// every other volume .Trash/<uid> or .Trash-<uid> at its top; besides, ~/.Trash.
class LinuxTrashFolders final : public TrashFolders {
 public:
  LinuxTrashFolders(const Environment& environment, const std::string& home, uid_t user);

  bool isEnclosedByTrash(const std::string& path) override;

 private:
  bool isMountPoint(const std::string& path);

  const std::vector<std::string> homeTrashes_;
  const std::vector<std::string> volumeTrashes_;
  Mutex mutex_;
  const MountTable table_ QUILLO_GUARDED_BY(mutex_);
  std::set<std::string> mountPoints_ QUILLO_GUARDED_BY(mutex_);
  bool mustRead_ QUILLO_GUARDED_BY(mutex_) = true;
};

}  // namespace quillo
