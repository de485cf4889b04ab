#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Volumes.h"
#include "platform/linux/names/MountTable.h"
#include "posix/Mutex.h"

namespace quillo {

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
