#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "helper/FileSystems.h"
#include "helper/Visibility.h"

namespace quillo::helper {

// A folder that an event tells of.
struct Folder {
  Identity identity;
  std::vector<Place> places;  // none if it is gone, or nothing that the caller sees
};

// Finds the folders that events tell of. A verdict is remembered only until forget(), to be called
// after each read of events: within these milliseconds a storm asks the same thousands of times,
// and a folder that was made private is known as such at the next read. Mounts are kept open, and
// so busy, until forget() or letGo().
class Resolver {
 public:
  explicit Resolver(FileSystems& fileSystems) : fileSystems_(fileSystems) {}

  // `key` is NamedEvent::folder; the view must stay valid until forget().
  const Folder& find(std::string_view key);
  // The folder of a path that the kernel gave for an open file; empty places as above.
  const Folder& findPath(const std::string& path);
  void letGo() { mounts_.clear(); }
  void forget();

 private:
  Folder resolve(std::string_view key);
  bool resolveIn(const FileSystems::Mounts& mounts, std::string_view handle, Folder& folder);
  int opened(const Mount& mount);

  FileSystems& fileSystems_;
  std::unordered_map<std::string_view, Folder> found_;
  std::unordered_map<std::string, Folder> foundPaths_;
  std::unordered_map<int, UniqueFd> mounts_;  // by mount id
};

}  // namespace quillo::helper
