#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "helper/FileSystems.h"
#include "helper/Visibility.h"

namespace quillo::helper {

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

  // `key` is NamedEvent::folder. The result is valid until endRound().
  const Folder& find(std::string_view key);
  // The folder of a path that the kernel gave for an open file; empty places as above.
  const Folder& findPath(const std::string& path);
  // To be called for each event of a moved folder, in the order of events: the paths below it are
  // others from there on.
  void noteMove() { ++moves_; }
  void letGo() { mounts_.clear(); }
  // Ends a round, the events of one read.
  void endRound();
  // Forgets all; after a change of the mount table.
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
