#include "watchers/PathFilter.h"

#include <utility>

#include "platform/TrashFolders.h"
#include "posix/Text.h"

namespace quillo {

PathFilter::Place::Place(const std::string& configured) : name(configured) { follow(); }

void PathFilter::Place::follow() {
  if (!name.starts_with('/')) {
    return;
  }
  real = RealPath(name);
  realName = real.path();
  if (name.ends_with('/') && realName != "/") {
    realName += '/';
  }
  if (realName == name) {
    realName.clear();
  }
}

// Both are plain beginnings, not cut at a "/": see the watch list, whose folders end in one.
bool PathFilter::Place::holds(const std::string& path) const {
  return path.starts_with(name) || (!realName.empty() && path.starts_with(realName));
}

// Both end in "/" if they are folders, so that only the root folder is the parent of anything.
bool PathFilter::Place::isParentOf(const std::string& path) const {
  const std::string parent = deletingLastPathComponent(path);
  return parent == name || (!realName.empty() && parent == realName);
}

void PathFilter::setQuarantineFolder(const std::string& folder) {
  quarantine_ = folder.empty() ? Place() : Place(folder);
}

void PathFilter::noticeTurnedLinks() {
  if (quarantine_.real.hasChanged()) {
    quarantine_.follow();
  }
  for (Place& place : places_) {
    if (place.real.hasChanged()) {
      place.follow();
    }
  }
}

// The lists change as a whole: as long as they are the same, so is what was made of them.
void PathFilter::takeWatched() {
  auto folders = owner_.getWatchedFolderList();
  auto flags = owner_.getCheckSubDirs();
  if (folders == folders_ && flags == flags_) {
    return;
  }
  if (folders != folders_) {
    places_.clear();
    for (const std::string& folder : *folders) {
      places_.emplace_back(folder);
    }
  }
  for (Place& place : places_) {
    const auto flag = flags->find(place.name);
    place.withSubfolders = flag != flags->end() && flag->second;
  }
  folders_ = std::move(folders);
  flags_ = std::move(flags);
}

void PathFilter::judge(const std::string& path) {
  if (!quarantine_.name.empty() && quarantine_.holds(path)) {
    return;
  }
  takeWatched();
  for (const Place& place : places_) {
    if (!place.holds(path)) {
      continue;
    }
    const bool wanted = place.withSubfolders ? !isTrashed(path) : place.isParentOf(path);
    if (wanted) {
      owner_.theDispatcher().addStringToItemList(path);
      return;
    }
  }
}

bool PathFilter::isTrashed(const std::string& path) const {
  return trashFolders_.isEnclosedByTrash(path);
}

}  // namespace quillo
