#include "platform/linux/names/LinuxVolumes.h"

#include <algorithm>

#include "posix/Text.h"

namespace quillo {

LinuxVolumes::LinuxVolumes(const std::string& userName) {
  if (!userName.empty() && userName.find('/') == std::string::npos) {
    folders_.push_back("/media/" + userName);
    folders_.push_back("/run/media/" + userName);
  }
}

bool LinuxVolumes::isVolumeRoot(const std::string& path) {
  const std::string parent = deletingLastPathComponent(path);
  return std::find(folders_.begin(), folders_.end(), parent) != folders_.end() || isMounted(path);
}

bool LinuxVolumes::isMounted(const std::string& path) {
  MutexLock hold(mutex_);
  mustRead_ = table_.hasChanged() || mustRead_;
  if (mustRead_) {
    if (const auto mounts = table_.read()) {
      mustRead_ = false;
      mountPoints_.clear();
      for (const Mount& mount : volumesAmong(*mounts)) {
        mountPoints_.insert(mount.mountPoint);
      }
    }
  }
  return mountPoints_.count(path) != 0;
}

}  // namespace quillo
