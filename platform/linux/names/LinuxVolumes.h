#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Volumes.h"
#include "posix/MountTable.h"
#include "posix/Mutex.h"

namespace quillo {

// The mounts that a user would call a volume: a disk, a stick, a disc, a network share. Pseudo file
// systems, images of packaged programs, bind mounts, portals and the system's own places are none.
std::vector<Mount> volumesAmong(const std::vector<Mount>& mounts);

// What lies in "/Volumes" or where udisks(8) mounts what this user plugs in (/media/USER or
// /run/media/USER), and every other volume in the kernel's mount table.
class LinuxVolumes final : public Volumes {
 public:
  explicit LinuxVolumes(const std::string& userName);

  bool isVolumeRoot(const std::string& path) override;

 private:
  bool isMounted(const std::string& path);

  // Constant after construction.
  std::vector<std::string> folders_ = {"/Volumes"};

  Mutex mutex_;
  MountTable table_ QUILLO_GUARDED_BY(mutex_);
  // As of the table's last change.
  std::set<std::string> mountPoints_ QUILLO_GUARDED_BY(mutex_);
  bool mustRead_ QUILLO_GUARDED_BY(mutex_) = true;
};

}  // namespace quillo
