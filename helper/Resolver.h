#pragma once

#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "helper/Mounts.h"
#include "helper/Visibility.h"

namespace quillo::helper {

// The file systems that events can come from, with the mounts through which they are seen here.
class FileSystems {
 public:
  using Mounts = std::vector<Mount>;

  explicit FileSystems(uid_t caller) : caller_(caller) {}

  int descriptor() const { return table_.descriptor(); }
  // The next question reads the mount table again.
  void setStale() { stale_ = true; }
  // Begins a round; precedes each read of events.
  void beginRound() { mayReload_ = true; }
  // Returns those that an event's file system id (8 bytes, as the kernel wrote them) can mean, each
  // as its mounts, the best to open handles through first; valid until the next call. Reads the
  // table again if the id is unknown, once a round. Throws std::system_error.
  std::vector<const Mounts*> withId(std::string_view id);

 private:
  struct FileSystem {
    std::string id;  // empty if it could not be asked
    bool isBtrfs = false;
    Mounts mounts;
  };

  void reload();
  std::vector<const Mounts*> known(std::string_view id) const;

  const uid_t caller_;
  OpenMountTable table_;
  bool stale_ = true;
  bool mayReload_ = true;
  std::map<dev_t, FileSystem> fileSystems_;
};

// A folder that an event names.
struct Folder {
  Identity identity;
  std::vector<Place> places;  // none if it is gone, or nothing that the caller sees
};

// Finds the folders that events name. What was found is remembered, as a storm asks for the same
// folders again and again, but believed only after the kernel confirmed, once a round of events and
// with the caller's rights, that the path still leads to that folder. Mounts are kept open, and so
// busy, until endRound() or letGo().
class Resolver {
 public:
  explicit Resolver(FileSystems& fileSystems) : fileSystems_(fileSystems) {}

  // Returns the folder of `key` (NamedEvent::folder), without places when the caller gets to it by
  // none. Valid until endRound().
  const Folder& find(std::string_view key);
  // Returns the folder of a path that the kernel gave for an open file, likewise.
  const Folder& findPath(const std::string& path);
  // Notes an event of a moved folder, in the order of events: the paths below it are others from
  // there on.
  void noteMove() { ++moves_; }
  void letGo() { mounts_.clear(); }
  // Ends the round of the events of one read.
  void endRound();
  // Forgets all, after a change of the mount table.
  void forget();

 private:
  struct Known {
    Folder folder;
    unsigned long round = 0;  // when it was confirmed last
    unsigned long moves = 0;  // how many folders had been moved when it was found
  };
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };

  Folder resolve(std::string_view key);
  bool resolveIn(const FileSystems::Mounts& mounts, std::string_view handle, Folder& folder);
  int opened(const Mount& mount);

  FileSystems& fileSystems_;
  std::unordered_map<std::string, Known, Hash, std::equal_to<>> known_;
  std::unordered_map<std::string, Folder> paths_;  // of this round
  std::unordered_map<int, UniqueFd> mounts_;       // by mount id
  unsigned long round_ = 1;
  unsigned long moves_ = 0;
  time_t forgotten_ = 0;
};

}  // namespace quillo::helper
