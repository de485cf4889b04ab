#include "helper/Resolver.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cstring>

#include "helper/Rights.h"

namespace quillo::helper {
namespace {

using std::string_view;

constexpr size_t idSize = 8;
// A folder can be seen in many places by way of bind mounts; each costs the reader a line.
constexpr size_t mostPlaces = 8;
constexpr size_t mostKnown = 20'000;

UniqueFd openHandle(int mount, string_view bytes) {
  alignas(file_handle) char buffer[sizeof(file_handle) + MAX_HANDLE_SZ] = {};
  if (bytes.size() > sizeof(buffer)) return UniqueFd();
  std::memcpy(buffer, bytes.data(), bytes.size());
  const Raised raised({CAP_DAC_READ_SEARCH});
  return UniqueFd(
      open_by_handle_at(mount, reinterpret_cast<file_handle*>(buffer), O_PATH | O_CLOEXEC));
}

// Whether the caller still sees the folder in the same places. What was not seen is to be asked for
// again.
bool isStillSo(const Folder& folder) {
  return !folder.places.empty() &&
         std::all_of(folder.places.begin(), folder.places.end(),
                     [&](const Place& place) { return isStillAt(place, folder.identity); });
}

// The path in the file system of a folder that was opened through `mount`, for which the kernel
// gave `path`; nothing if it does not lie below the root of the mount: it is then called "/".
std::optional<std::string> pathBelow(const Mount& mount, const std::string& path,
                                     const Identity& identity) {
  if (path == "/" && identify(path) != identity) return std::nullopt;
  return pathInFileSystem(mount, path);
}

// Adds the places where the caller sees what lies at `path` of the file system.
void addPlaces(const FileSystems::Mounts& mounts, const std::string& path, Folder& folder) {
  for (const Mount& mount : mounts) {
    const auto seen = pathThrough(mount, path);
    if (!seen || folder.places.size() == mostPlaces) continue;
    auto place = placeFor(*seen, folder.identity);
    if (!place) continue;
    const bool isKnown =
        std::any_of(folder.places.begin(), folder.places.end(),
                    [&](const Place& other) { return other.prefix == place->prefix; });
    if (!isKnown) folder.places.push_back(std::move(*place));
  }
}

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

int Resolver::opened(const Mount& mount) {
  UniqueFd& fd = mounts_[mount.id];
  if (!fd) {
    const Raised raised({CAP_DAC_READ_SEARCH});
    // open_by_handle_at(2) takes no O_PATH descriptor.
    fd = openMount(mount, O_RDONLY | O_DIRECTORY);
  }
  return fd.get();
}

// Whether the handle belongs to this file system.
bool Resolver::resolveIn(const FileSystems::Mounts& mounts, string_view handle, Folder& folder) {
  bool isKnown = false;
  for (const Mount& mount : mounts) {
    const int through = opened(mount);
    if (through < 0) continue;
    const UniqueFd fd = openHandle(through, handle);
    struct stat info {};
    if (!fd || fstat(fd.get(), &info) < 0) return false;
    isKnown = true;
    folder.identity = Identity(info);
    const auto path = pathOfDescriptor(fd.get());
    const auto inside = path ? pathBelow(mount, *path, folder.identity) : std::nullopt;
    if (!inside) continue;
    addPlaces(mounts, *inside, folder);
    break;
  }
  return isKnown;
}

Folder Resolver::resolve(string_view key) {
  Folder folder;
  // Copies of a file system share its id; then the one that knows the handle is meant, or both.
  for (const FileSystems::Mounts* mounts : fileSystems_.withId(key.substr(0, idSize))) {
    Folder candidate;
    if (!resolveIn(*mounts, key.substr(idSize), candidate)) continue;
    folder.identity = candidate.identity;
    for (Place& place : candidate.places) folder.places.push_back(std::move(place));
  }
  return folder;
}

const Folder& Resolver::find(string_view key) {
  auto entry = known_.find(key);
  if (entry == known_.end()) entry = known_.emplace(std::string(key), Known()).first;
  Known& known = entry->second;
  if (known.moves == moves_ && (known.round == round_ || isStillSo(known.folder))) {
    known.round = round_;
    return known.folder;
  }
  known = Known{resolve(key), round_, moves_};
  return known.folder;
}

const Folder& Resolver::findPath(const std::string& path) {
  const auto [entry, isNew] = paths_.try_emplace(path);
  Folder& folder = entry->second;
  const auto identity = isNew ? identify(path) : std::nullopt;
  if (!identity) return folder;
  folder.identity = *identity;
  if (auto place = placeFor(path, *identity)) folder.places.push_back(std::move(*place));
  return folder;
}

void Resolver::endRound() {
  letGo();
  paths_.clear();
  ++round_;
  fileSystems_.beginRound();
  // So that places that can be seen only since then are found too, and memory stays small.
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  if (now.tv_sec != forgotten_ || known_.size() > mostKnown) known_.clear();
  forgotten_ = now.tv_sec;
}

void Resolver::forget() {
  known_.clear();
  fileSystems_.setStale();
}

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
