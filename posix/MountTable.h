#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo {

// One line of /proc/PID/mountinfo (proc(5)), octal escapes undone.
struct Mount {
  int id = 0;
  dev_t device = 0;
  std::string root;   // the folder of the file system that is seen at `point`; "/" is all of it
  std::string point;  // without a "/" at its end, but for the root folder
  std::string type;
  std::string source;
  std::string superOptions;
  bool readOnly = false;

  // Equal: the same mount, whatever may be done through it now.
  bool operator==(const Mount& other) const;
};

// Returns the mounts of a table in its order; lines that are none are left out. Pure; any thread.
std::vector<Mount> parseMountTable(std::string_view text);

// Returns the value of `key=value` in a comma-separated list of options; an empty one for a lone
// `key`. Pure; any thread.
std::optional<std::string_view> mountOption(std::string_view options, std::string_view key);

// Returns true when its files lie on another machine, whose changes of them nobody reports here.
// Pure; any thread.
bool isNetwork(const Mount& mount);
// Returns true when what lies there is the kernel's own and not somebody's files, or is a view of
// what lies elsewhere. Pure; any thread.
bool isPseudo(const Mount& mount);
// Returns true when the kernel asks a process of some user about each access. Pure; any thread.
bool isFuse(const Mount& mount);
// Returns true when other machines change it as well, and nobody reports that here. Pure; any
// thread.
bool isChangedByOthers(const Mount& mount);
// Returns true when files of that file system lie on this machine and can be changed through this
// mount by somebody of whom `user` may know. Pseudo and network file systems are left out, and a
// FUSE file system that is some other user's. Pure; any thread.
bool isWatchable(const Mount& mount, uid_t user);
// Returns the mount that the path is on, which is absolute and leads over no link: of those that
// hold it the innermost, and the last one on top; null when none does. Pure; any thread.
const Mount* mountHolding(const std::string& path, const std::vector<Mount>& mounts);
// Returns false when the kernel cannot report every name that appears on the file system that holds
// the path: for that it needs file handles and an id of the file system (fanotify(7),
// FAN_REPORT_FID). Any thread. name_to_handle_at(2).
bool hasFileHandles(const std::string& path);

// The table of this process as the kernel keeps it. Not for sharing between threads or processes:
// the open file remembers which change its owner has seen.
class MountTable {
 public:
  MountTable();

  // Returns what is to be polled for POLLPRI, which comes once after each change; -1, with errno,
  // when there is no table.
  int descriptor() const { return file_.get(); }
  // Returns true when it has changed since it was opened or this was last asked.
  bool hasChanged() const;
  // Returns nothing, with errno, when it cannot be read now, which says nothing of what is mounted.
  std::optional<std::vector<Mount>> read() const;

 private:
  UniqueFd file_;
};

}  // namespace quillo
