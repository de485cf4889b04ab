#pragma once

#include <memory>
#include <string>
#include <vector>

#include "posix/RealPath.h"
#include "watchers/WatcherOwner.h"

namespace quillo {

class TrashFolders;

// Decides which changed paths go on to the dispatcher: those that lie in a watched folder and
// neither in the quarantine folder nor in the trash. Changes are reported under real paths, so a
// folder that is reached through a symbolic link is known by both its names. Each thread that hands
// paths over has a filter of its own.
class PathFilter {
 public:
  PathFilter(WatcherOwner& owner, TrashFolders& trashFolders)
      : owner_(owner), trashFolders_(trashFolders) {}

  // Nothing whose path begins with that text, or with the real path that it leads to, passes from
  // now on; none for "".
  void setQuarantineFolder(const std::string& folder);
  const std::string& quarantineFolder() const { return quarantine_.name; }
  // Follows links that have been turned elsewhere. To be called before each batch of paths.
  void noticeTurnedLinks();
  // Hands the path, in bytes as they are, to the dispatcher if it passes.
  void judge(const std::string& path);
  bool isTrashed(const std::string& path) const;

 private:
  // A beginning of paths as it was configured, and what it really is.
  struct Place {
    Place() = default;
    explicit Place(const std::string& name);
    bool holds(const std::string& path) const;
    bool isParentOf(const std::string& path) const;
    void follow();

    std::string name;
    RealPath real;
    std::string realName;  // empty when it is the same
    bool withSubfolders = false;
  };

  void takeWatched();

  // Constant after construction.
  WatcherOwner& owner_;
  TrashFolders& trashFolders_;

  Place quarantine_;
  // What `places_` were made of.
  std::shared_ptr<const WatchedFolderList> folders_;
  std::shared_ptr<const SubdirectoryFlags> flags_;
  std::vector<Place> places_;
};

}  // namespace quillo
