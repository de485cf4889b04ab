#include "platform/linux/names/NameRounds.h"

#include "posix/PlatformException.h"

namespace quillo {

NameRounds::NameRounds(Clock& clock, std::vector<NamedPlace> places, NameWatchObserver& observer,
                       HasHandles hasHandles)
    : clock_(clock),
      places_(std::move(places)),
      observer_(observer),
      hasHandles_(std::move(hasHandles)) {
  plan();
}

bool NameRounds::round(bool mountsChanged) {
  bool more = false;
  if (tree_) {
    std::vector<std::string> paths;
    more = tree_->step(paths);
    if (!paths.empty()) {
      observer_.namesAppeared(paths);
    }
    if (tree_->takeRefusal()) {
      reportRoots(NameWatchObserver::Gap::tooManyFolders);
    }
  }
  // After the events, so that what was unmounted has gone from the tree.
  const bool wayChanged = ways_.hasChanged();
  if (mountsChanged || wayChanged || isIncomplete()) {
    plan();
    more = tree_ != nullptr;
  }
  return more;
}

bool NameRounds::isIncomplete() const { return !mountsAreKnown_ || (!tree_ && !roots_.empty()); }

std::vector<pollfd> NameRounds::descriptors() const {
  return {{mounts_.descriptor(), POLLPRI, 0},
          {ways_.descriptor(), POLLIN, 0},
          {tree_ ? tree_->descriptor() : -1, POLLIN, 0}};
}

// The ways are followed before they are looked at again, so that no turn of one falls in between.
void NameRounds::plan() {
  const std::optional<std::vector<Mount>> table = mounts_.read();
  mountsAreKnown_ = table.has_value();
  if (!table) {
    // What is watched goes on being watched. The table may not have been opened.
    mounts_ = MountTable();
    for (const NamedPlace& place : places_) {
      reportGap(place.path, NameWatchObserver::Gap::mountsUnknown);
    }
    return;
  }
  ways_.follow(planNames(places_, *table, hasHandles_).ways);
  const NamePlan plan = planNames(places_, *table, hasHandles_);
  carryOut(plan.roots);
  for (const std::string& place : plan.onNetwork) {
    reportGap(place, NameWatchObserver::Gap::networkDrive);
  }
}

void NameRounds::carryOut(const std::vector<NameRoot>& roots) {
  std::map<std::string, NameRoot> before;
  before.swap(roots_);
  for (const NameRoot& root : roots) {
    roots_.emplace(root.folder, root);
  }
  if (roots_.empty()) {
    tree_.reset();
    return;
  }
  if (!tree_) {
    makeTree();
    before.clear();
  }
  if (!tree_) {
    return;
  }
  for (const auto& [folder, root] : before) {
    const auto now = roots_.find(folder);
    if (now == roots_.end() || now->second.mountId != root.mountId ||
        now->second.withSubfolders != root.withSubfolders) {
      tree_->remove(folder);
    } else if (!tree_->isStillThere(folder)) {
      // Another folder of that name: all that is in it is new there.
      tree_->remove(folder);
      tree_->add(folder, root.withSubfolders, true);
    }
  }
  for (const auto& [folder, root] : roots_) {
    const auto earlier = before.find(folder);
    if (earlier == before.end() || earlier->second.mountId != root.mountId ||
        earlier->second.withSubfolders != root.withSubfolders) {
      tree_->add(folder, root.withSubfolders, false);
    }
  }
}

void NameRounds::makeTree() {
  try {
    tree_ = std::make_unique<NameTree>(clock_);
  } catch (const PlatformException&) {
    reportRoots(NameWatchObserver::Gap::noQueue);
  }
}

void NameRounds::reportRoots(NameWatchObserver::Gap gap) {
  for (const auto& [folder, root] : roots_) {
    reportGap(root.place, gap);
  }
}

void NameRounds::reportGap(const std::string& place, NameWatchObserver::Gap gap) {
  if (reportedGaps_.emplace(place, gap).second) {
    observer_.placeHasGap(place, gap);
  }
}

}  // namespace quillo
