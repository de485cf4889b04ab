#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/NameWatch.h"
#include "posix/MountTable.h"
#include "posix/RealPath.h"

namespace quillo {

// Where names have to be watched folder by folder.
struct NameRoot {
  std::string folder;  // a real path
  bool withSubfolders = false;
  int mountId = 0;
  std::string place;  // for whose sake, as it was configured
};

struct NamePlan {
  std::vector<NameRoot> roots;
  // Places of which no change is reported at all.
  std::vector<std::string> onNetwork;
  // The ways to places that are there by a link, or need a root: a change on one of them needs
  // another plan.
  std::vector<RealPath> ways;
};

// Returns what the places need, as the disk and the mount table are now. A place without subfolders
// counts for paths in the root folder alone, and needs nothing elsewhere. `hasHandles` returns true
// for a mount point when the helper hears of every name on that file system. Any thread.
NamePlan planNames(const std::vector<NamedPlace>& places, const std::vector<Mount>& mounts,
                   const std::function<bool(const std::string&)>& hasHandles);

}  // namespace quillo
