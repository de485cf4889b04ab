#pragma once

#include <poll.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/NameWatch.h"
#include "platform/linux/names/NamePlan.h"
#include "platform/linux/names/NameTree.h"
#include "platform/linux/names/WayWatch.h"
#include "posix/MountTable.h"

namespace quillo {

// The work of a name watch for one set of places, in rounds: between them its owner waits until one
// of the descriptors has something. One thread; may wait for a disk.
class NameRounds {
 public:
  using HasHandles = std::function<bool(const std::string& path)>;

  NameRounds(Clock& clock, std::vector<NamedPlace> places, NameWatchObserver& observer,
             HasHandles hasHandles);

  // Does what there is to do now, and calls the observer. `mountsChanged` is to be true if the
  // mount table's descriptor had news. Returns true when there is more to do at once.
  bool round(bool mountsChanged);
  // Returns true when something could not be had that is to be tried for again, after a while.
  bool isIncomplete() const;
  // Returns the mount table first, to be polled for POLLPRI; the others for POLLIN.
  std::vector<pollfd> descriptors() const;

 private:
  void plan();
  void carryOut(const std::vector<NameRoot>& roots);
  void makeTree();
  void reportRoots(NameWatchObserver::Gap gap);
  void reportGap(const std::string& place, NameWatchObserver::Gap gap);

  // Constant after construction.
  Clock& clock_;
  const std::vector<NamedPlace> places_;
  NameWatchObserver& observer_;
  const HasHandles hasHandles_;

  MountTable mounts_;
  // False when the table could not be read: it is tried again in the next round.
  bool mountsAreKnown_ = false;
  WayWatch ways_;
  std::unique_ptr<NameTree> tree_;
  std::map<std::string, NameRoot> roots_;
  std::set<std::pair<std::string, NameWatchObserver::Gap>> reportedGaps_;
};

}  // namespace quillo
