#pragma once

#include <set>
#include <string>
#include <vector>

#include "helper/Events.h"
#include "helper/Mounts.h"
#include "posix/UniqueFd.h"

namespace quillo::helper {

// Marks every watchable file system of the machine in both groups, again after each change of the
// mount table (a mark that is there already stays as it is). It runs in a process of its own, the
// only one that keeps CAP_SYS_ADMIN, which reads nothing but the mount table.
class Marker {
 public:
  Marker(const Groups& groups, uid_t caller) : groups_(groups), caller_(caller) {}

  // Returns true when a btrfs is mounted, whose subvolumes can be watched only through its top
  // level.
  bool seesBtrfs() const;
  // Installs the system call filter, which allows to open that top level only if there is one.
  void confine();
  // Marks all and returns the number of file systems that are watched. Throws std::system_error,
  // and std::runtime_error if the filter hinders it: then the program has to be started anew.
  int markAll();
  // Goes on until `owner` (a pidfd) ends. Throws std::system_error.
  void run(int owner);

 private:
  bool markFileSystem(const std::vector<const Mount*>& mounts);
  bool markThrough(const Mount& mount);
  bool markBtrfs(const Mount& mount);
  bool mark(const UniqueFd& group, std::uint64_t mask, int fd);
  void complain(const Mount& mount, int error);

  const Groups& groups_;
  const uid_t caller_;
  OpenMountTable table_;
  bool mayOpenBtrfs_ = false;
  std::set<std::string> complained_;
};

// Starts the marking process and returns when it has marked everything. The result becomes readable
// (end of file) when the process has ended. `groups` stay open here too. Throws std::runtime_error
// if nothing can be watched.
UniqueFd startMarker(const Groups& groups);

}  // namespace quillo::helper
