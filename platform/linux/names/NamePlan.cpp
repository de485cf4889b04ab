#include "platform/linux/names/NamePlan.h"

#include <algorithm>

#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// What nobody changes, or what shows what lies elsewhere already.
bool needsNoWatch(const Mount& mount) {
  return isPseudo(mount) || mount.type == "squashfs" || mount.type == "fuse.snapfuse";
}

class Planner {
 public:
  Planner(const std::vector<Mount>& mounts, const std::function<bool(const std::string&)>& handles)
      : mounts_(mounts), hasHandles_(handles) {}

  void add(const NamedPlace& place) {
    const RealPath real(place.path);
    const std::string& path = real.path();
    const Mount* mount = mountHolding(path, mounts_);
    const bool mayGivePaths = place.withSubfolders || path == "/";
    if (!mount || !mayGivePaths) {
      return;
    }
    const bool needsRoot = needsNames(*mount);
    if (isChangedByOthers(*mount)) {
      plan.onNetwork.push_back(place.path);
    } else if (needsRoot) {
      addRoot(place, path, *mount);
    }
    if (needsRoot || !real.links().empty()) {
      plan.ways.push_back(real);
    }
    if (place.withSubfolders) {
      addMountsBelow(place, path);
    }
  }

  NamePlan plan;

 private:
  bool needsNames(const Mount& mount) const {
    return !isChangedByOthers(mount) && !needsNoWatch(mount) && !hasHandles_(mount.point);
  }

  void addRoot(const NamedPlace& place, const std::string& path, const Mount& mount) {
    // Asked once: it may vanish at any time, and what is missing is taken for a folder.
    const auto facts = fileFacts(path);
    if (!facts || facts->isDirectory) {
      plan.roots.push_back({path, place.withSubfolders, mount.id, place.path});
    } else {
      // A file: what takes its name is reported by the folder that it lies in.
      plan.roots.push_back({deletingLastPathComponent(path), false, mount.id, place.path});
    }
  }

  void addMountsBelow(const NamedPlace& place, const std::string& path) {
    for (const Mount& mount : mounts_) {
      if (liesBelow(mount.point, path) && mountHolding(mount.point, mounts_) == &mount &&
          needsNames(mount)) {
        plan.roots.push_back({mount.point, true, mount.id, place.path});
      }
    }
  }

  const std::vector<Mount>& mounts_;
  const std::function<bool(const std::string&)>& hasHandles_;
};

bool covers(const NameRoot& one, const NameRoot& other) {
  return one.mountId == other.mountId && one.withSubfolders && liesBelow(other.folder, one.folder);
}

// Leaves out what another root reaches, and all but the widest of the same folder.
std::vector<NameRoot> withoutCovered(std::vector<NameRoot> roots) {
  std::stable_sort(roots.begin(), roots.end(), [](const NameRoot& one, const NameRoot& other) {
    return one.folder != other.folder ? one.folder < other.folder
                                      : one.withSubfolders && !other.withSubfolders;
  });
  std::vector<NameRoot> kept;
  for (const NameRoot& root : roots) {
    const bool isCovered = (!kept.empty() && kept.back().folder == root.folder) ||
                           std::any_of(kept.begin(), kept.end(),
                                       [&](const NameRoot& one) { return covers(one, root); });
    if (!isCovered) {
      kept.push_back(root);
    }
  }
  return kept;
}

}  // namespace

NamePlan planNames(const std::vector<NamedPlace>& places, const std::vector<Mount>& mounts,
                   const std::function<bool(const std::string&)>& hasHandles) {
  Planner planner(mounts, hasHandles);
  for (const NamedPlace& place : places) {
    planner.add(place);
  }
  planner.plan.roots = withoutCovered(std::move(planner.plan.roots));
  return std::move(planner.plan);
}

}  // namespace quillo
