#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quillo {

// A folder or file to watch, by whatever path it was configured.
struct NamedPlace {
  std::string path;
  bool withSubfolders = false;

  bool operator==(const NamedPlace&) const = default;
};

// Called by a name watch, on the thread of the watch.
class NameWatchObserver {
 public:
  enum class Gap {
    networkDrive,    // this computer hears of no change there
    tooManyFolders,  // the system lets no more folders be watched: some names are missed
    noQueue,         // the system lets no more programs watch folders: names are missed
    mountsUnknown    // what is mounted cannot be read: names may be missed
  };

  virtual ~NameWatchObserver() = default;
  // Reports files and links that were given these names, or were written, by their real paths, in
  // bytes. One may be reported more than once. Throws nothing.
  virtual void namesAppeared(const std::vector<std::string>& paths) = 0;
  // Called once for each place and kind of gap. Throws nothing.
  virtual void placeHasGap(const std::string& place, Gap gap) = 0;
};

// Watches names where the helper tool cannot: there are file systems on which it hears of writing
// alone, and not of files that are renamed, linked or moved into a folder. Main thread.
class NameWatch {
 public:
  virtual ~NameWatch() = default;
  // Watches those of the places, and of what is mounted below them, that need it, from now on and
  // until stop(), in place of any others. Does not wait for a disk. The observer outlives this.
  virtual void start(const std::vector<NamedPlace>& places, NameWatchObserver& observer) = 0;
  // Ends the watch. What was found just before may still be reported.
  virtual void stop() = 0;
};

// Notices files that leave their places.
class FileDepartures {
 public:
  virtual ~FileDepartures() = default;
  // Calls `hasLeft` on the main thread once soon, and whenever the file may have been moved,
  // removed or replaced, until it returns true. Only a limited number of files is watched, the
  // latest. Any thread.
  virtual void watch(const std::string& path, std::function<bool()> hasLeft) = 0;
};

}  // namespace quillo
