#include "platform/linux/LinuxVolumes.h"

#include <algorithm>

#include "posix/Text.h"

namespace quillo {

LinuxVolumes::LinuxVolumes(const std::string& userName, const std::vector<Mount>& mounts) {
  if (!userName.empty() && userName.find('/') == std::string::npos) {
    folders_.push_back("/media/" + userName);
    folders_.push_back("/run/media/" + userName);
  }
  const bool mountsInMedia = std::any_of(mounts.begin(), mounts.end(), [](const Mount& mount) {
    return deletingLastPathComponent(mount.mountPoint) == "/media";
  });
  if (mountsInMedia) {
    folders_.emplace_back("/media");
  }
}

}  // namespace quillo
