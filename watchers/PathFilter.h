#pragma once

#include <memory>
#include <string>
#include <vector>

#include "posix/RealPath.h"
#include "watchers/PathBeginnings.h"
#include "watchers/WatcherOwner.h"

namespace quillo {

// Decides which changed paths go on to the dispatcher: those that lie in a watched folder and
// neither in the quarantine folder nor in the trash. Changes are reported under real paths, so a
// folder that is reached through a symbolic link is known by both its names. Each thread that hands
// paths over has a filter of its own.
class PathFilter {
 public:
  // What decides about a path.
  enum class Rule { watched, inQuarantine, outside, inTrash, inSubfolder };
  struct Judgement {
    Rule rule = Rule::outside;
    // The watched folder that lets it pass, or the last one that it lies in and that does not; null
    // where it lies in none. Valid until the next refresh().
    const std::string* folder = nullptr;
  };

  PathFilter(WatchedFolders& watched, TrashFolders& trashFolders)
      : watched_(watched), trashFolders_(trashFolders) {}

  // Lets nothing pass from now on whose path begins with that text, or with the real path that it
  // leads to; "" stands for none.
  void setQuarantineFolder(const std::string& folder);
  const std::string& quarantineFolder() const { return quarantine_.name; }
  // Takes the watched folders as they are now and follows links that have been turned elsewhere. To
  // be called before the paths that have come together are judged.
  void refresh();
  // Returns true when the path, in bytes as they are, goes on.
  bool passes(const std::string& path) const { return judge(path).rule == Rule::watched; }
  // Returns which rule decides about it. A folder without its subfolders (`inSubfolder`) lets
  // nothing pass but what lies in the root folder itself.
  Judgement judge(const std::string& path) const;
  bool isTrashed(const std::string& path) const;

 private:
  // A beginning of paths as it was configured, and what it really is.
  struct Place {
    Place() = default;
    explicit Place(const std::string& configured, bool subfolders = false);
    bool holds(const std::string& path) const;
    bool isParentOf(const std::string& path) const;
    void follow();
    // Returns whether it leads elsewhere now.
    bool followAnew();

    std::string name;
    bool withSubfolders = false;
    RealPath real;
    std::string realName;  // empty when it is the same
  };

  void arrange();

  // Constant after construction.
  WatchedFolders& watched_;
  TrashFolders& trashFolders_;

  Place quarantine_;
  // What `places_` were made of.
  std::shared_ptr<const WatchedFolderList> folders_;
  std::shared_ptr<const SubdirectoryFlags> flags_;
  std::vector<Place> places_;
  PathBeginnings beginnings_;  // of all their names, by their numbers
};

}  // namespace quillo
