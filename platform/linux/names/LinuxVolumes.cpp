#include "platform/linux/names/LinuxVolumes.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "posix/Text.h"

namespace quillo {
namespace {

// No volumes either: what lies in memory, shows what lies elsewhere already, or is a packaged
// image.
constexpr auto otherTypes = std::to_array<std::string_view>(
    {"ecryptfs", "erofs", "nfsd", "overlay", "overlayfs", "ramfs", "rootfs", "squashfs", "tmpfs",
     "fuse.snapfuse", "fuse.squashfuse", "fuse.revokefs-fuse"});

constexpr auto systemPlaces = std::to_array<std::string_view>(
    {"/boot", "/dev", "/efi", "/etc", "/proc", "/run", "/snap", "/sys", "/usr",
     "/var/lib/containers", "/var/lib/docker", "/var/snap"});

constexpr auto placesForVolumes =
    std::to_array<std::string_view>({"/Volumes", "/media", "/run/media", "/mnt"});

bool liesInAny(std::string_view path, const auto& folders) {
  return std::any_of(folders.begin(), folders.end(), [&](std::string_view folder) {
    return path == folder || liesBelow(path, folder);
  });
}

// Of these, folders of a share are mounted, several of them from one device.
bool isMountedByFolder(const std::string& type) {
  return type == "nfs" || type == "nfs4" || type == "cifs" || type == "smb3" || type == "9p";
}

// A program that is one file mounts itself while it runs.
bool isProgramImage(const Mount& mount) {
  return mount.type.starts_with("fuse.") && lastPathComponent(mount.point).starts_with(".mount_");
}

bool isPlacedAndTypedAsVolume(const Mount& mount) {
  const bool isPlaceForVolumes = liesInAny(mount.point, placesForVolumes);
  if (mount.point == "/" || (liesInAny(mount.point, systemPlaces) && !isPlaceForVolumes)) {
    return false;
  }
  if (mount.type == "tmpfs") {
    // Nobody mounts one there but to use it as a volume.
    return isPlaceForVolumes;
  }
  return !isPseudo(mount) && !isProgramImage(mount) &&
         std::find(otherTypes.begin(), otherTypes.end(), mount.type) == otherTypes.end();
}

}  // namespace

std::vector<Mount> volumesAmong(const std::vector<Mount>& mounts) {
  std::vector<Mount> volumes;
  std::set<dev_t> seen;
  for (const Mount& mount : mounts) {
    const bool isMountedAlready = !seen.insert(mount.device).second;
    // A Btrfs subvolume is mounted by its path too.
    const bool isPart =
        mount.root != "/" && mount.type != "btrfs" && !isMountedByFolder(mount.type);
    const bool isBind = isPart || (isMountedAlready && !isMountedByFolder(mount.type));
    if (!isBind && isPlacedAndTypedAsVolume(mount)) {
      volumes.push_back(mount);
    }
  }
  return volumes;
}

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
        mountPoints_.insert(mount.point);
      }
    }
  }
  return mountPoints_.count(path) != 0;
}

}  // namespace quillo
