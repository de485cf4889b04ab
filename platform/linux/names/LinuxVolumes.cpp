#include "platform/linux/names/LinuxVolumes.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/linux/services/Guarded.h"
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

bool MountPoints::contain(const std::string& path) {
  MutexLock hold(mutex_);
  mustRead_ = table_.hasChanged() || mustRead_;
  if (mustRead_) {
    if (const auto mounts = table_.read()) {
      mustRead_ = false;
      points_.clear();
      for (const Mount& mount : choice_ != nullptr ? choice_(*mounts) : *mounts) {
        points_.insert(mount.point);
      }
    }
  }
  return points_.count(path) != 0;
}

LinuxVolumes::LinuxVolumes(const std::string& userName) {
  if (!userName.empty() && userName.find('/') == std::string::npos) {
    folders_.push_back("/media/" + userName);
    folders_.push_back("/run/media/" + userName);
  }
}

bool LinuxVolumes::isVolumeRoot(const std::string& path) {
  const std::string parent = deletingLastPathComponent(path);
  return std::find(folders_.begin(), folders_.end(), parent) != folders_.end() ||
         volumes_.contain(path);
}

std::vector<Mount> NewVolumes::update(std::vector<Mount> mounts) {
  std::vector<Mount> fresh;
  for (const Mount& mount : volumesAmong(mounts)) {
    if (std::find(known_.begin(), known_.end(), mount) == known_.end()) {
      fresh.push_back(mount);
    }
  }
  known_ = std::move(mounts);
  return fresh;
}

void LinuxVolumeChanges::observe(std::function<void()> changed) {
  stopObserving();
  changed_ = std::move(changed);
  table_ = std::make_unique<MountTable>();
  if (table_->descriptor() < 0) {
    return;
  }
  notifier_ = std::make_unique<QSocketNotifier>(table_->descriptor(), QSocketNotifier::Exception);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
    // A listener may end the observation, or begin another.
    if (const auto listener = changed_) {
      guarded(listener);
    }
  });
}

void LinuxVolumeChanges::stopObserving() {
  if (notifier_) {
    // It may be what is calling just now.
    notifier_->setEnabled(false);
    notifier_.release()->deleteLater();
  }
  changed_ = nullptr;
}

void LinuxMountNotifications::observe(std::function<void(const std::string& devicePath)> didMount) {
  stopObserving();
  didMount_ = std::move(didMount);
  changes_.observe([this] { tableChanged(); });
  newVolumes_.reset(MountTable().read().value_or(std::vector<Mount>()));
}

void LinuxMountNotifications::stopObserving() {
  changes_.stopObserving();
  didMount_ = nullptr;
}

void LinuxMountNotifications::tableChanged() {
  std::optional<std::vector<Mount>> mounts = MountTable().read();
  if (!mounts) {
    return;
  }
  for (const Mount& mount : newVolumes_.update(std::move(*mounts))) {
    // A listener may end the observation, or begin another.
    if (const auto didMount = didMount_) {
      guarded([&] { didMount(mount.point); });
    }
  }
}

}  // namespace quillo
