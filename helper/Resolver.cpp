#include "helper/Resolver.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "helper/Rights.h"

namespace quillo::helper {
namespace {

using std::string_view;

constexpr size_t idSize = 8;
// A folder can be seen in many places by way of bind mounts; each costs the reader a line.
constexpr size_t mostPlaces = 8;

UniqueFd openHandle(int mount, string_view bytes) {
  alignas(file_handle) char buffer[sizeof(file_handle) + MAX_HANDLE_SZ] = {};
  if (bytes.size() > sizeof(buffer)) return UniqueFd();
  std::memcpy(buffer, bytes.data(), bytes.size());
  const Raised raised;
  return UniqueFd(
      open_by_handle_at(mount, reinterpret_cast<file_handle*>(buffer), O_PATH | O_CLOEXEC));
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

}  // namespace

int Resolver::opened(const Mount& mount) {
  UniqueFd& fd = mounts_[mount.id];
  if (!fd) {
    const Raised raised;
    // open_by_handle_at(2) takes no O_PATH descriptor.
    fd = openMount(mount, O_RDONLY | O_DIRECTORY);
  }
  return fd.get();
}

// Whether the handle belongs to this file system.
bool Resolver::resolveIn(const FileSystems::Mounts& mounts, string_view handle, Folder& folder) {
  for (const Mount& mount : mounts) {
    const int through = opened(mount);
    if (through < 0) continue;
    const UniqueFd fd = openHandle(through, handle);
    struct stat info {};
    if (!fd || fstat(fd.get(), &info) < 0) return false;
    folder.identity = Identity(info);
    const auto path = pathOfDescriptor(fd.get());
    if (!path) return true;
    if (const auto inside = pathInFileSystem(mount, *path)) addPlaces(mounts, *inside, folder);
    // What does not lie below the root of this mount is called by its path in the file system.
    if (folder.places.empty() && mount.root != "/") addPlaces(mounts, *path, folder);
    return true;
  }
  return false;
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
  const auto [entry, isNew] = found_.try_emplace(key);
  if (isNew) entry->second = resolve(key);
  return entry->second;
}

const Folder& Resolver::findPath(const std::string& path) {
  const auto [entry, isNew] = foundPaths_.try_emplace(path);
  Folder& folder = entry->second;
  const auto identity = isNew ? identify(path) : std::nullopt;
  if (!identity) return folder;
  folder.identity = *identity;
  if (auto place = placeFor(path, *identity)) folder.places.push_back(std::move(*place));
  return folder;
}

void Resolver::forget() {
  letGo();
  found_.clear();
  foundPaths_.clear();
  fileSystems_.beginRound();
}

}  // namespace quillo::helper
