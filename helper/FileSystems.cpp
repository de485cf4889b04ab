#include "helper/FileSystems.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/vfs.h>

#include <algorithm>

#include "helper/Rights.h"

namespace quillo::helper {
namespace {

std::string idOf(const std::vector<Mount>& mounts) {
  const Raised raised({CAP_DAC_READ_SEARCH});
  for (const Mount& mount : mounts) {
    const UniqueFd fd = openMount(mount, O_PATH);
    struct statfs info {};
    if (fd && fstatfs(fd.get(), &info) == 0) {
      return std::string(reinterpret_cast<const char*>(&info.f_fsid), sizeof(info.f_fsid));
    }
  }
  return std::string();
}

}  // namespace

std::vector<const FileSystems::Mounts*> FileSystems::known(std::string_view id) const {
  std::vector<const Mounts*> exact;
  std::vector<const Mounts*> possible;
  for (const auto& [device, fileSystem] : fileSystems_) {
    if (fileSystem.id == id) exact.push_back(&fileSystem.mounts);
    // Its marks bear the id of the top level, its mounts those of the subvolumes.
    if (fileSystem.isBtrfs) possible.push_back(&fileSystem.mounts);
  }
  return exact.empty() ? possible : exact;
}

std::vector<const FileSystems::Mounts*> FileSystems::withId(std::string_view id) {
  if (stale_) reload();
  std::vector<const Mounts*> result = known(id);
  if (!result.empty() || !mayReload_) return result;
  mayReload_ = false;
  reload();
  return known(id);
}

void FileSystems::reload() {
  fileSystems_.clear();
  for (Mount& mount : table_.read()) {
    // A mount that is read-only here may show what changed through another one.
    if (isFuse(mount)) continue;
    FileSystem& fileSystem = fileSystems_[mount.device];
    fileSystem.isBtrfs = mount.type == "btrfs";
    fileSystem.mounts.push_back(std::move(mount));
  }
  for (auto entry = fileSystems_.begin(); entry != fileSystems_.end();) {
    Mounts& mounts = entry->second.mounts;
    if (std::none_of(mounts.begin(), mounts.end(),
                     [this](const Mount& mount) { return isWatchable(mount, caller_); })) {
      entry = fileSystems_.erase(entry);
      continue;
    }
    std::stable_sort(mounts.begin(), mounts.end(), [](const Mount& one, const Mount& other) {
      return one.root.size() < other.root.size();
    });
    entry->second.id = idOf(mounts);
    ++entry;
  }
  stale_ = false;
}

}  // namespace quillo::helper
