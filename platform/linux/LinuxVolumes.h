#pragma once

#include "platform/Volumes.h"
#include "platform/linux/MountTable.h"

namespace quillo {

// "/Volumes", and where udisks(8) mounts what this user plugs in: a folder of the user's in /media
// or /run/media, or /media itself on a machine where something is mounted directly in it.
class LinuxVolumes final : public Volumes {
 public:
  LinuxVolumes(const std::string& userName, const std::vector<Mount>& mounts);

  std::vector<std::string> volumeFolders() const override { return folders_; }

 private:
  std::vector<std::string> folders_ = {"/Volumes"};
};

}  // namespace quillo
