#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "posix/RealPath.h"
#include "posix/UniqueFd.h"

namespace quillo {

// Hands what one read(2) of an inotify(7) queue brings to `take`, event by event. Returns false
// when nothing waits in it.
bool takeInotifyEvents(
    const UniqueFd& queue,
    const std::function<void(int watch, unsigned int mask, std::string_view name)>& take);

// Notices when a folder or a link on the way to a place appears, goes or is another: by inotify(7)
// on the folders that lie on the way. One thread.
class WayWatch {
 public:
  // Returns what is to be polled for reading; -1 while there is nothing to follow, or no queue to
  // be had.
  int descriptor() const { return queue_.get(); }
  // Follows these ways in place of any others.
  void follow(const std::vector<RealPath>& ways);
  // Returns true when something of that kind has happened since this was last asked.
  bool hasChanged();

 private:
  void followOne(const std::string& path);

  UniqueFd queue_;
  std::map<int, std::set<std::string, std::less<>>> names_;
};

}  // namespace quillo
