#include "watchers/PathFilter.h"

#include <utility>

#include "platform/Folders.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {

std::optional<std::string> watchedForm(std::string path) {
  const auto facts = fileFacts(path);
  return watchedForm(std::move(path), facts);
}

std::optional<std::string> watchedForm(std::string path, const std::optional<FileFacts>& facts) {
  if (!facts) {
    return std::nullopt;
  }
  if (facts->isDirectory && !path.ends_with('/')) {
    path += '/';
  }
  return path;
}

PathFilter::Place::Place(const std::string& configured, bool subfolders)
    : name(configured), withSubfolders(subfolders) {
  follow();
}

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

bool PathFilter::Place::followAnew() {
  if (!real.hasChanged()) {
    return false;
  }
  follow();
  return true;
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

// The lists change as a whole: as long as they are the same, so is what was made of them.
void PathFilter::refresh() {
  quarantine_.followAnew();
  auto folders = watched_.getWatchedFolderList();
  auto flags = watched_.getCheckSubDirs();
  if (folders == folders_ && flags == flags_) {
    bool isOther = false;
    for (Place& place : places_) {
      isOther = place.followAnew() || isOther;
    }
    if (isOther) {
      arrange();
    }
    return;
  }
  places_.clear();
  for (const std::string& folder : *folders) {
    const auto flag = flags->find(folder);
    places_.emplace_back(folder, flag != flags->end() && flag->second);
  }
  folders_ = std::move(folders);
  flags_ = std::move(flags);
  arrange();
}

void PathFilter::arrange() {
  beginnings_.clear();
  for (std::size_t index = 0; index < places_.size(); ++index) {
    beginnings_.add(places_[index].name, index);
    if (!places_[index].realName.empty()) {
      beginnings_.add(places_[index].realName, index);
    }
  }
  beginnings_.arrange();
}

PathFilter::Judgement PathFilter::judge(const std::string& path) const {
  if (!quarantine_.name.empty() && quarantine_.holds(path)) {
    return {Rule::inQuarantine, nullptr};
  }
  Judgement judgement;
  for (const std::size_t index : beginnings_.of(path)) {
    const Place& place = places_[index];
    judgement.folder = &place.name;
    if (place.withSubfolders) {
      judgement.rule = isTrashed(path) ? Rule::inTrash : Rule::watched;
    } else {
      judgement.rule = place.isParentOf(path) ? Rule::watched : Rule::inSubfolder;
    }
    if (judgement.rule == Rule::watched) {
      break;
    }
  }
  return judgement;
}

bool PathFilter::isTrashed(const std::string& path) const {
  return trashFolders_.isEnclosedByTrash(path);
}

}  // namespace quillo
